#ifndef BROWSER_SIGNAL_PIPE_H_
#define BROWSER_SIGNAL_PIPE_H_

namespace browser {

/// Turns the first SIGHUP, SIGINT and SIGTERM into something an event loop can wait for. A second
/// one of the same kind ends the process as usual, so that a browser that hangs can be ended.
///
/// @return a file descriptor, valid for the life of the process, that gives one byte for each
///         signal: its number.
/// @throws std::runtime_error  when the system has no pipe left.
int openSignalPipe();

}  // namespace browser

#endif
