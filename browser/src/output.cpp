#include "src/output.h"

#include <QByteArray>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace browser {
namespace {

bool works = true;

bool isControl(ushort unit) {
    return unit < 0x20 || (unit >= 0x7f && unit < 0xa0) || unit == 0x2028 || unit == 0x2029 ||
           (unit >= 0x202a && unit <= 0x202e);  // these turn the direction of a whole line
}

}  // namespace

QString inOneLine(const QString& text) {
    QString line;
    line.reserve(text.size());
    for (const QChar letter : text) {
        const ushort unit = letter.unicode();
        if (unit == '\n') {
            line += QLatin1String("\\n");
        } else if (unit == '\t') {
            line += QLatin1String("\\t");
        } else if (isControl(unit)) {
            line += QStringLiteral("\\u%1").arg(unit, 4, 16, QLatin1Char('0'));
        } else {
            line += letter;
        }
    }
    return line;
}

void printLine(const QString& text) {
    const QByteArray bytes = inOneLine(text).toUtf8() + '\n';
    const auto size = static_cast<std::size_t>(bytes.size());
    if (!works) return;
    works = std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (!works) {
        complain(QStringLiteral("cannot write to standard output: ") +
                 QString::fromLocal8Bit(std::strerror(errno)));
    }
}

void complain(const QString& text) {
    std::fprintf(stderr, "sso-browser: %s\n", qUtf8Printable(inOneLine(text)));
}

bool outputWorks() { return works; }

}  // namespace browser
