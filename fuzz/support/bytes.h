#ifndef FUZZ_SUPPORT_BYTES_H_
#define FUZZ_SUPPORT_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

/// An input as a sequence of choices. Beyond its end every choice is the first.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

    bool isAtEnd() const { return m_at == m_end; }
    std::uint8_t byte() { return isAtEnd() ? std::uint8_t{0} : *m_at++; }
    /// One of so many, from 0 on.
    std::size_t choice(std::size_t count) { return count == 0 ? 0 : byte() % count; }
    std::uint64_t number(std::size_t bytes) {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) value = value << 8U | byte();
        return value;
    }
    /// Any bytes, up to a NUL or the longest.
    std::string text(std::size_t longest = 64) {
        std::string text;
        while (!isAtEnd() && *m_at != 0 && text.size() < longest) {
            text += static_cast<char>(*m_at++);
        }
        byte();
        return text;
    }

  private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
};

}  // namespace fuzz

#endif
