#ifndef TESTS_SOAK_ELEMENT_H_
#define TESTS_SOAK_ELEMENT_H_

#include <array>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

#include "host/value.h"
#include "ppapi/c/pp_instance.h"

namespace soak {

/// The token of operations that are ended in any order.
inline constexpr const char* kAnyToken = "a token";

/// What an element of the page was sent, and what it has to get for it. One thread sends, others bring answers.
class Element {
  public:
    explicit Element(PP_Instance instance) : m_instance(instance) {}

    PP_Instance instance() const { return m_instance; }

    /// The next request to post, and notes what it has to be answered with. One in eight is malformed, one in eight
    /// is refused, the others ask for the tokens of different clients.
    host::Value next();

    /// An answer came.
    ///
    /// @param inOrder  whether tokens are those of the clients, in the order of their requests; else they are kAnyToken.
    /// @return what is wrong with it; "" for nothing.
    std::string take(const host::Value& answer, bool inOrder);

    std::size_t outstanding() const;

  private:
    std::string takeToken(const std::string& token, bool inOrder);

    const PP_Instance m_instance;
    std::size_t m_count = 0;  ///< of requests
    mutable std::mutex m_mutex;
    std::deque<std::string> m_tokens;  ///< that are awaited
    std::size_t m_refusals = 0;        ///< the same
    std::size_t m_complaints = 0;      ///< the same, of malformed requests
};

/// An account file's content, for which Element's expectations are.
std::string accountOfElements();

}  // namespace soak

#endif
