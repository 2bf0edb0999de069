#ifndef BROWSER_ENVIRONMENT_H_
#define BROWSER_ENVIRONMENT_H_

#include <filesystem>
#include <string>
#include <vector>

#include "base/swept_folder.h"
#include "embedder/environment.h"
#include "src/application.h"
#include "src/options.h"

namespace browser {

/// Where the plug-in's log goes, for the panel; empty when somebody wants it on standard error.
std::filesystem::path logFile(const Options& options, const base::SweptFolder& folder);

/// Where the wrapper tells of the plug-in process; prepareEnvironment() makes it.
std::filesystem::path eventPipe(const base::SweptFolder& folder);

/// Sets the variables by which the web engine, its plug-in process and the plug-in's log are told
/// what to do. Call before the application object exists, while there is one thread.
///
/// @param serverPort  where the folders of applications are served; 0 when there are none.
/// @param service     of the options' state.
/// @param agent       the key with which this browser shows the account's windows; empty for no windows.
/// @throws embedder::InputError  when this program's own files are not where they belong.
void prepareEnvironment(const Options& options, const std::vector<Application>& applications,
                        int serverPort, const base::SweptFolder& folder,
                        const embedder::ServiceHold& service, const std::string& agent);

}  // namespace browser

#endif
