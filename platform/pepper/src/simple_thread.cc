#include "ppapi/utility/threading/simple_thread.h"

#include <memory>

namespace pp {
namespace {

struct ThreadData {
    MessageLoop message_loop;
    SimpleThread::ThreadFunc func;
    void* user_data;
};

void* runThread(void* argument) {
    const std::unique_ptr<ThreadData> data(static_cast<ThreadData*>(argument));
    data->message_loop.AttachToCurrentThread();
    if (data->func != nullptr) {
        data->func(data->message_loop, data->user_data);
    } else {
        data->message_loop.Run();
    }
    return nullptr;
}

}  // namespace

SimpleThread::SimpleThread(const InstanceHandle& instance) : message_loop_(instance), thread_(0) {}

SimpleThread::~SimpleThread() { Join(); }

bool SimpleThread::Start() { return StartWithFunction(nullptr, nullptr); }

bool SimpleThread::StartWithFunction(ThreadFunc func, void* user_data) {
    if (thread_ != 0) {
        return false;
    }
    auto data = std::make_unique<ThreadData>(ThreadData{message_loop_, func, user_data});
    if (pthread_create(&thread_, nullptr, &runThread, data.get()) != 0) {
        thread_ = 0;
        return false;
    }
    data.release();  // NOLINT(bugprone-unused-return-value): the thread owns it now
    return true;
}

bool SimpleThread::Join() {
    if (thread_ == 0) {
        return false;
    }
    message_loop_.PostQuit(true);
    const bool joined = pthread_join(thread_, nullptr) == 0;
    thread_ = 0;
    return joined;
}

}  // namespace pp
