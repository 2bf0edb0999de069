#ifndef BROWSER_QT_MESSAGES_H_
#define BROWSER_QT_MESSAGES_H_

#include "base/swept_folder.h"

namespace browser {

/// Sends Qt's warnings to stderr, and makes a fatal one, such as a display that does not answer,
/// end the process with one clear line and kExitFailed instead of an abort.
///
/// @param folder  is removed in that case, as no destructor runs; must live as long as Qt is used.
void installQtMessages(const base::SweptFolder& folder);

}  // namespace browser

#endif
