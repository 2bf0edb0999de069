#ifndef BROWSER_PANEL_PRIVILEGES_SECTION_H_
#define BROWSER_PANEL_PRIVILEGES_SECTION_H_

#include <QGroupBox>

#include "embedder/vendor_table.h"

namespace browser {

/// Which privileges an application has, and which it lacks.
class PrivilegesSection : public QGroupBox {
  public:
    explicit PrivilegesSection(const embedder::Application& application);
};

}  // namespace browser

#endif
