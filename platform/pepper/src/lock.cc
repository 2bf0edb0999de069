#include "ppapi/utility/threading/lock.h"

// A broken count ends the process in release builds too: going on would free an
// object that is still in use.
#undef NDEBUG
#include <cassert>

#include "ppapi/utility/completion_callback_factory_thread_traits.h"

namespace pp {

Lock::Lock() { pthread_mutex_init(&os_lock_, nullptr); }

Lock::~Lock() { pthread_mutex_destroy(&os_lock_); }

void Lock::Acquire() { pthread_mutex_lock(&os_lock_); }

void Lock::Release() { pthread_mutex_unlock(&os_lock_); }

int32_t ThreadSafeThreadTraits::RefCount::AddRef() {
    AutoLock lock(lock_);
    return ++ref_;
}

int32_t ThreadSafeThreadTraits::RefCount::Release() {
    AutoLock lock(lock_);
    assert(ref_ > 0);
    return --ref_;
}

}  // namespace pp
