#ifndef SUPPORT_WORK_H_
#define SUPPORT_WORK_H_

#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <utility>

#include "browser_tables.h"
#include "ppapi/c/pp_completion_callback.h"

namespace support {

/// Functions as callbacks. It keeps them, for a callback may be dropped uncalled; so it has to
/// outlive the loops they are posted to.
class Work {
  public:
    /// @param function  gets the callback's result.
    PP_CompletionCallback callback(std::function<void(std::int32_t)> function) {
        const std::lock_guard lock(m_mutex);
        m_functions.push_back(std::move(function));
        return PP_MakeCompletionCallback(&Work::run, &m_functions.back());
    }

    /// @return what PostWork returned.
    std::int32_t post(PP_Resource loop, const std::function<void()>& function,
                      std::int64_t delay = 0) {
        return loops().PostWork(loop, callback([function](std::int32_t) { function(); }), delay);
    }

  private:
    static void run(void* function, std::int32_t result) {
        (*static_cast<std::function<void(std::int32_t)>*>(function))(result);
    }

    std::mutex m_mutex;
    std::list<std::function<void(std::int32_t)>> m_functions;
};

}  // namespace support

#endif
