#include "src/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace browser {

void fillStandardStreams() {
    // In ascending order, as each opened file gets the lowest number that is free.
    for (const auto& [stream, mode] :
         {std::pair{STDIN_FILENO, O_WRONLY}, std::pair{STDOUT_FILENO, O_RDONLY},
          std::pair{STDERR_FILENO, O_WRONLY}}) {
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", mode);
    }
}

}  // namespace browser
