#include "src/qt_messages.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QString>
#include <cstdio>

#include "src/exit_code.h"

namespace browser {
namespace {

const base::SweptFolder* folderToRemove = nullptr;
// While Qt starts, on the main thread: the first warning is the reason of the fatal one, which
// talks of installing Qt anew.
QString firstWarning;

/// A window that gets the focus as it goes: the display says no, and nothing is wrong.
bool isOfAWindowThatWent(const QString& message) {
    return message.startsWith(QLatin1String("QXcbConnection: XCB error: 8 (BadMatch)")) &&
           message.contains(QLatin1String("(SetInputFocus)"));
}

void onMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    const bool starting = QCoreApplication::instance() == nullptr || QCoreApplication::startingUp();
    switch (type) {
        case QtDebugMsg:
        case QtInfoMsg:
            return;
        case QtWarningMsg:
        case QtCriticalMsg:
            if (!starting) {
                if (isOfAWindowThatWent(message)) return;
                std::fprintf(stderr, "%s\n", qUtf8Printable(message));
            } else if (firstWarning.isEmpty()) {
                firstWarning = message;
            }
            return;
        case QtFatalMsg:
            const QString& reason = firstWarning.isEmpty() ? message : firstWarning;
            std::fprintf(stderr, "sso-browser: no window can be opened: %s\n",
                         qUtf8Printable(reason.simplified()));
            folderToRemove->remove();
            _exit(kExitFailed);
    }
}

}  // namespace

void installQtMessages(const base::SweptFolder& folder) {
    folderToRemove = &folder;
    qInstallMessageHandler(onMessage);
}

}  // namespace browser
