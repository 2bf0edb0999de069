#ifndef SUPPLIERS_FENCED_TEXT_H_
#define SUPPLIERS_FENCED_TEXT_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace suppliers {

/// A text whose terminator is the last byte that can be read: who reads on crashes. So does who reads
/// it after it was taken away.
class FencedText {
  public:
    explicit FencedText(const std::string& text) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t readable = (text.size() + 1 + page - 1) / page * page;
        m_size = readable + page;
        m_pages = static_cast<char*>(
            mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(m_pages + readable, page, PROT_NONE);
        m_text = m_pages + readable - text.size() - 1;
        std::memcpy(m_text, text.c_str(), text.size() + 1);
    }
    ~FencedText() { munmap(m_pages, m_size); }
    FencedText(const FencedText&) = delete;
    FencedText& operator=(const FencedText&) = delete;

    const char* get() const { return m_text; }
    void takeAway() { mprotect(m_pages, m_size, PROT_NONE); }

  private:
    std::size_t m_size;
    char* m_pages;
    char* m_text;
};

}  // namespace suppliers

#endif
