#ifndef BASE_ABOVE_STANDARD_STREAMS_H_
#define BASE_ABOVE_STANDARD_STREAMS_H_

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace base {

/// Moves a file that was opened in the place of a closed standard stream: what the program prints must not
/// get into it.
///
/// @param file  closed when the result is another one; what a failed open() returned is fine.
/// @return a descriptor above the standard streams', closed on exec, or -1 with errno set.
inline int aboveStandardStreams(int file) {
    if (file < 0 || file > STDERR_FILENO) {
        return file;
    }
    const int above = fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(file);
    errno = error;
    return above;
}

}  // namespace base

#endif
