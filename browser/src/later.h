#ifndef BROWSER_LATER_H_
#define BROWSER_LATER_H_

#include <QObject>
#include <functional>

namespace browser {

/// Does something from the event loop, after a time. Not any more when `owner` has gone.
void later(QObject& owner, int milliseconds, std::function<void()> what);

}  // namespace browser

#endif
