#include "src/later.h"

#include <QTimer>
#include <utility>

namespace browser {

void later(QObject& owner, int milliseconds, std::function<void()> what) {
    auto* timer = new QTimer(&owner);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, [timer, what = std::move(what)] {
        timer->deleteLater();
        what();
    });
    timer->start(milliseconds);
}

}  // namespace browser
