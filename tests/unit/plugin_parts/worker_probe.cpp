// The plug-in on a runtime whose worker threads cannot be started.

#include "worker_probe.h"

#include <stdexcept>

#include "runtime/simple_thread_await_loop.h"

extern "C" {
__attribute__((visibility("default"))) WorkerFailure workerFailure = WorkerFailure::Reports;
}

// In place of the runtime's own, which the linker then leaves out.
bool pp::SimpleThreadAwaitLoop::Start() {
    if (workerFailure == WorkerFailure::Throws) {
        throw std::runtime_error("no thread to be had");
    }
    return false;
}
