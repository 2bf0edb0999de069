#ifndef HOST_SRC_THIS_THREAD_H_
#define HOST_SRC_THIS_THREAD_H_

#include <sys/types.h>

#include <string>

namespace host {

std::string thisThreadName();
pid_t thisThreadId();

/// Cut to the 15 bytes that the system keeps.
void nameThisThread(const std::string& name);

}  // namespace host

#endif
