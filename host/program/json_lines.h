#ifndef HOST_PROGRAM_JSON_LINES_H_
#define HOST_PROGRAM_JSON_LINES_H_

#include "command_line.h"

/// Plays a page from the JSON lines of standard input, and writes what happens as JSON lines to
/// standard output, until the input ends or nobody reads the output.
///
/// @return the exit code.
/// @throws host::LoadError, host::EmbedError  when nothing can be started.
int playJsonLines(const CommandLine& commandLine);

#endif
