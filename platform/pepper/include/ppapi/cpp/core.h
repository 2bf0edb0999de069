#ifndef PPAPI_CPP_CORE_H_
#define PPAPI_CPP_CORE_H_

#include "ppapi/c/ppb_core.h"

namespace pp {

class CompletionCallback;

/// The browser's core functions, each forwarded as it is. Any thread.
class Core {
  public:
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    void AddRefResource(PP_Resource resource);
    void ReleaseResource(PP_Resource resource);
    PP_Time GetTime();
    PP_TimeTicks GetTimeTicks();
    /// @param delay_in_milliseconds  0 still returns before the callback runs.
    /// @param result  handed to the callback unchanged.
    void CallOnMainThread(int32_t delay_in_milliseconds, const CompletionCallback& callback,
                          int32_t result = 0);
    bool IsMainThread();

  private:
    friend class Module;
    explicit Core(const PPB_Core* interface) : interface_(interface) {}

    const PPB_Core* interface_;
};

}  // namespace pp

#endif
