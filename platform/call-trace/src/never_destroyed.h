#ifndef CALL_TRACE_NEVER_DESTROYED_H_
#define CALL_TRACE_NEVER_DESTROYED_H_

#include <utility>

namespace call_trace {

/// A static object that stays when the process ends: functions are traced until the very end.
template <typename Value>
class NeverDestroyed {
  public:
    template <typename... Arguments>
    constexpr explicit NeverDestroyed(Arguments&&... arguments)
        : m_value{std::forward<Arguments>(arguments)...} {}
    ~NeverDestroyed() {}  // not defaulted: that would be deleted, because of the union
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    Value& operator*() { return m_value; }

  private:
    union {
        Value m_value;
    };
};

}  // namespace call_trace

#endif
