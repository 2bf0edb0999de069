#ifndef TRACE_RECORDING_WRITER_H_
#define TRACE_RECORDING_WRITER_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "ht.h"

namespace trace_test {

/// In the order written, each with the length that came with it; the null value is none.
using Texts = std::vector<std::optional<std::string>>;

/// Remembers what is written.
class RecordingWriter final : public ht::TSTextWriter {
  public:
    void Write(const char* text, std::size_t length) override {
        m_texts.emplace_back(std::in_place, text, length);
    }
    void WriteNull() override { m_texts.emplace_back(std::nullopt); }

    const Texts& texts() const { return m_texts; }

  private:
    Texts m_texts;
};

}  // namespace trace_test

#endif
