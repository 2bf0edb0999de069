#ifndef OWNED_TEXT_H_
#define OWNED_TEXT_H_

#include <cstdlib>
#include <memory>
#include <string>

#include "SdkCall.h"

namespace sdk {

/// A text that the client library hands over, by whichever of the types that SDKs have for one.
class OwnedText {
  public:
    /// @param query  asked at once. It may hand over a text even when it reports a failure.
    template <typename Text>
    explicit OwnedText(int (*query)(Text**)) {
        Text* text = nullptr;
        m_isValid = query(&text) == kSuccess;
        m_text.reset(const_cast<char*>(text));
    }

    bool isValid() const { return m_isValid; }
    const char* get() const { return m_text.get(); }
    /// The same, empty when the query has failed.
    std::string text() const { return m_isValid ? get() : ""; }

  private:
    struct Free {
        void operator()(char* text) const { free(text); }
    };

    std::unique_ptr<char, Free> m_text;
    bool m_isValid = false;
};

}  // namespace sdk

#endif
