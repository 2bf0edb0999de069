#ifndef BROWSER_PANEL_TEXT_H_
#define BROWSER_PANEL_TEXT_H_

#include <QString>
#include <string>

namespace browser {

inline QString text(const std::string& plain) { return QString::fromStdString(plain); }

}  // namespace browser

#endif
