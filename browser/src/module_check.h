#ifndef BROWSER_MODULE_CHECK_H_
#define BROWSER_MODULE_CHECK_H_

#include <filesystem>

namespace browser {

/// Makes sure that a plug-in can be loaded, by loading it in a process of its own: the browser's
/// plug-in process would report a mistake too late, and this process must not run a plug-in's code.
///
/// @throws embedder::InputError  saying what is wrong with the file.
void checkModule(const std::filesystem::path& path);

}  // namespace browser

#endif
