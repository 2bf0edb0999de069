#ifndef PPAPI_UTILITY_COMPLETION_CALLBACK_FACTORY_THREAD_TRAITS_H_
#define PPAPI_UTILITY_COMPLETION_CALLBACK_FACTORY_THREAD_TRAITS_H_

#include <stdint.h>

#include "ppapi/utility/threading/lock.h"

namespace pp {

/// Makes a CompletionCallbackFactory usable from several threads.
class ThreadSafeThreadTraits {
  public:
    /// A count that starts at 0; both functions give the new count.
    class RefCount {
      public:
        int32_t AddRef();
        /// Stops the process, in every kind of build, when the count is not positive: the object
        /// behind it is gone already.
        int32_t Release();

      private:
        ::pp::Lock lock_;
        int32_t ref_ = 0;
    };

    typedef ::pp::Lock Lock;
    typedef ::pp::AutoLock AutoLock;
};

}  // namespace pp

#endif
