#ifndef PPAPI_UTILITY_THREADING_LOCK_H_
#define PPAPI_UTILITY_THREADING_LOCK_H_

#include <pthread.h>

namespace pp {

/// A mutex, not recursive.
class Lock {
  public:
    Lock();
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void Acquire();
    void Release();

  private:
    pthread_mutex_t os_lock_;
};

/// Holds a lock for the life of a scope.
class AutoLock {
  public:
    explicit AutoLock(Lock& lock) : lock_(lock) { lock_.Acquire(); }
    ~AutoLock() { lock_.Release(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

  private:
    Lock& lock_;
};

}  // namespace pp

#endif
