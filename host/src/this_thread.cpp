#include "this_thread.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace host {
namespace {

constexpr std::size_t kNameSize = 16;  // with the final NUL

}  // namespace

std::string thisThreadName() {
    char name[kNameSize] = {};
    return pthread_getname_np(pthread_self(), name, sizeof name) == 0 ? name : "";
}

pid_t thisThreadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

void nameThisThread(const std::string& name) {
    pthread_setname_np(pthread_self(), name.substr(0, kNameSize - 1).c_str());
}

}  // namespace host
