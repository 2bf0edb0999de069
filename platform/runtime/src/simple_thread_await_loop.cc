#include "runtime/simple_thread_await_loop.h"

#include <semaphore.h>

#include <cerrno>

namespace pp {
namespace {

// SimpleThread attaches the loop before it calls this.
void announceAndRun(MessageLoop& loop, void* user_data) {
    sem_post(static_cast<sem_t*>(user_data));
    loop.Run();
}

}  // namespace

bool SimpleThreadAwaitLoop::Start() {
    sem_t attached;
    sem_init(&attached, 0, 0);
    const bool started = thread_.StartWithFunction(&announceAndRun, &attached);
    while (started && sem_wait(&attached) != 0 && errno == EINTR) {
        // A signal's handler ran on this thread; wait on.
    }
    sem_destroy(&attached);
    return started;
}

}  // namespace pp
