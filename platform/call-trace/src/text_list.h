#ifndef CALL_TRACE_TEXT_LIST_H_
#define CALL_TRACE_TEXT_LIST_H_

#include <optional>
#include <string>
#include <vector>

#include "ht.h"

namespace call_trace {

/// The writer of one call's item: keeps the texts until the call ends.
class TextList final : public ht::TSTextWriter {
  public:
    virtual ~TextList() = default;
    void Write(const char* text, std::size_t length) override;
    void WriteNull() override;

    /// In the order written; the null value is none.
    const std::vector<std::optional<std::string>>& texts() const { return m_texts; }

  private:
    std::vector<std::optional<std::string>> m_texts;
};

/// See ht_control_set_failing_write.
void setFailingWrite(int nth);

}  // namespace call_trace

#endif
