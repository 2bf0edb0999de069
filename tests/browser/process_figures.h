#ifndef BROWSER_PROCESS_FIGURES_H_
#define BROWSER_PROCESS_FIGURES_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace browser {

/// What a process uses, as the system counts it. Zeros for a process that is not there.
struct ProcessFigures {
    long residentKiB = 0;
    long threads = 0;
    long descriptors = 0;

    bool known() const { return threads > 0; }
};

/// The processes that a process started, and theirs.
std::vector<pid_t> descendantsOf(pid_t process);

/// Those below a browser that have loaded a library, given by its path.
std::vector<pid_t> pluginProcessesOf(pid_t browser, const std::string& library);

/// Of the process below a browser that has loaded a library, given by its path.
ProcessFigures figuresOfPluginProcess(pid_t browser, const std::string& library);

}  // namespace browser

#endif
