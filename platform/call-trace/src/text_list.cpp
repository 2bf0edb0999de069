#include "text_list.h"

#include <atomic>
#include <stdexcept>

namespace call_trace {
namespace {

std::atomic<int> g_writesToFailure = 0;

/// @throws std::runtime_error  when it is this write that has to fail.
void countWrite() {
    // Threads that pass the first check together take the number below zero, which is off, too.
    if (g_writesToFailure > 0 && g_writesToFailure.fetch_sub(1) == 1) {
        throw std::runtime_error("no room for the text");
    }
}

}  // namespace

void TextList::Write(const char* text, std::size_t length) {
    countWrite();
    m_texts.emplace_back(std::in_place, text, length);
}

void TextList::WriteNull() {
    countWrite();
    m_texts.emplace_back(std::nullopt);
}

void setFailingWrite(int nth) { g_writesToFailure = nth; }

}  // namespace call_trace
