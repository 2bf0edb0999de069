#ifndef BASE_NEVER_DESTROYED_H_
#define BASE_NEVER_DESTROYED_H_

#include <utility>

namespace base {

/// A static object that stays when the process ends, for those who may come until the very end: the
/// threads of a module, traced functions.
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

}  // namespace base

#endif
