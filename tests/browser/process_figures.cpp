#include "process_figures.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "process_file.h"

namespace browser {
namespace {

namespace fs = std::filesystem;

fs::path folderOf(pid_t process) { return fs::path("/proc") / std::to_string(process); }

/// A number from /proc/<process>/status; 0 when it is not there.
long statusOf(pid_t process, const std::string& name) {
    std::ifstream status(folderOf(process) / "status");
    for (std::string word; status >> word;) {
        if (word == name + ":") {
            long value = 0;
            status >> value;
            return value;
        }
    }
    return 0;
}

bool hasMapped(pid_t process, const std::string& library) {
    return support::processFile(folderOf(process) / "maps").find(library) != std::string::npos;
}

}  // namespace

std::vector<pid_t> descendantsOf(pid_t process) {
    std::multimap<pid_t, pid_t> children;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            const auto child = static_cast<pid_t>(std::stol(name));
            children.emplace(static_cast<pid_t>(statusOf(child, "PPid")), child);
        }
    }
    std::vector<pid_t> descendants = {process};
    for (size_t i = 0; i < descendants.size(); ++i) {
        const auto range = children.equal_range(descendants[i]);
        for (auto child = range.first; child != range.second; ++child) {
            descendants.push_back(child->second);
        }
    }
    descendants.erase(descendants.begin());
    return descendants;
}

std::vector<pid_t> pluginProcessesOf(pid_t browser, const std::string& library) {
    std::vector<pid_t> found;
    for (const pid_t process : descendantsOf(browser)) {
        if (hasMapped(process, library)) found.push_back(process);
    }
    return found;
}

ProcessFigures figuresOfPluginProcess(pid_t browser, const std::string& library) {
    ProcessFigures figures;
    for (const pid_t process : pluginProcessesOf(browser, library)) {
        std::error_code error;
        const fs::directory_iterator descriptors(folderOf(process) / "fd", error);
        figures.residentKiB = statusOf(process, "VmRSS");
        figures.threads = statusOf(process, "Threads");
        figures.descriptors =
            error ? 0 : static_cast<long>(std::distance(descriptors, fs::directory_iterator()));
    }
    return figures;
}

}  // namespace browser
