#ifndef PPAPI_CPP_COMPLETION_CALLBACK_H_
#define PPAPI_CPP_COMPLETION_CALLBACK_H_

#include "ppapi/c/pp_completion_callback.h"

namespace pp {

/// A C callback with its user data. Owns nothing; copies are the same callback.
class CompletionCallback {
  public:
    /// The blocking form: no function.
    CompletionCallback() : cc_(PP_BlockUntilComplete()) {}
    CompletionCallback(PP_CompletionCallback_Func func, void* user_data)
        : cc_(PP_MakeCompletionCallback(func, user_data)) {}

    /// Calls the function, which must be there.
    void Run(int32_t result) { PP_RunCompletionCallback(&cc_, result); }

    const PP_CompletionCallback& pp_completion_callback() const { return cc_; }

  protected:
    PP_CompletionCallback cc_;
};

}  // namespace pp

#endif
