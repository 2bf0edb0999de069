#ifndef BROWSER_ENVIRONMENT_H_
#define BROWSER_ENVIRONMENT_H_

#include "src/application.h"
#include "src/options.h"
#include "src/session_folder.h"

namespace browser {

/// Sets the variables by which the web engine, its plug-in process and the plug-in's log are told
/// what to do. Call before the application object exists, while there is one thread.
///
/// @throws StartError  when this program's own files are not where they belong.
void prepareEnvironment(const Options& options, const Application& application,
                        const SessionFolder& folder);

}  // namespace browser

#endif
