#ifndef EMBEDDER_ENVIRONMENT_H_
#define EMBEDDER_ENVIRONMENT_H_

#include <filesystem>

#include "embedder/options.h"

namespace embedder {

/// The folder that holds this program.
std::filesystem::path programFolder();

/// Sets the variables by which the plug-in's suppliers are told what to do: the log's level and the
/// account file. Call before the module is loaded, while there is one thread.
void prepareEnvironment(const Options& options);

}  // namespace embedder

#endif
