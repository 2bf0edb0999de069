#ifndef EMBEDDER_OUTPUT_FILE_H_
#define EMBEDDER_OUTPUT_FILE_H_

#include <cstdio>
#include <filesystem>

#include "embedder/input_error.h"

namespace embedder {

/// Opens a file to write, new or emptied; the caller closes it. A new one is for its user alone.
///
/// @param what  is written, for the error: "the messages".
/// @throws InputError  when it cannot be written, which holds for a pipe, too: it would block.
std::FILE* openOutputFile(const std::filesystem::path& path, const char* what);

}  // namespace embedder

#endif
