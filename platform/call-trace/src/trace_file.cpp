#include "trace_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "base/above_standard_streams.h"

namespace call_trace {
namespace {

constexpr std::string_view kOpening = "[\n";
constexpr std::string_view kSeparator = ",\n";
constexpr std::string_view kClosing = "]\n";

/// What the system writes as a whole or not at all, when the process is killed meanwhile.
constexpr off_t kPage = 4096;
/// By how much a file grows: by its size, within these limits.
constexpr off_t kLeastGrowth = 16 * kPage;
constexpr off_t kMostGrowth = 256 * kPage;

off_t sizeOf(std::string_view text) { return static_cast<off_t>(text.size()); }

std::string spaces(off_t count) { return std::string(static_cast<std::size_t>(count), ' '); }

off_t upToPage(off_t position) { return (position + kPage - 1) / kPage * kPage; }

/// Where a text goes that may be written at `position` or later.
off_t placeOf(off_t position, off_t size) {
    const off_t border = upToPage(position);
    return position + size > border ? border : position;
}

}  // namespace

TraceFile::TraceFile(const std::string& path, std::string_view first) : m_path(path) {
    open();
    try {
        lockAndEmpty();
        const std::string start = std::string(kOpening) + std::string(first);
        m_end = sizeOf(start);
        m_closing = upToPage(m_end + sizeOf(kClosing)) - sizeOf(kClosing);
        put(0, start + spaces(m_closing - m_end) + std::string(kClosing));
    } catch (...) {
        close(m_file);
        throw;
    }
}

TraceFile::~TraceFile() { close(m_file); }

off_t TraceFile::placeFor(std::size_t size) {
    const off_t wanted = sizeOf(kSeparator) + static_cast<off_t>(size);
    const off_t position = placeOf(m_end, wanted);
    makeRoom(position, wanted);
    m_end = position + wanted;
    return position;
}

void TraceFile::write(off_t place, std::string element) {
    put(place, element.insert(0, kSeparator));
}

void TraceFile::open() {
    // Not blocking, lest a pipe without a reader stops the traced program.
    constexpr int kFlags = O_WRONLY | O_CREAT | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
    m_file = base::aboveStandardStreams(::open(m_path.c_str(), kFlags, 0644));
    if (m_file < 0) {
        fail(errno);
    }
}

void TraceFile::lockAndEmpty() {
    if (flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        fail(errno);
    }
    // What cannot be emptied because it is a device gets its chance with the first write.
    if (ftruncate(m_file, 0) != 0 && errno != EINVAL) {
        fail(errno);
    }
}

void TraceFile::makeRoom(off_t position, off_t size) {
    if (position + size <= m_closing) {
        return;
    }
    const off_t former = m_closing + sizeOf(kClosing);
    const off_t wanted = upToPage(position + size + sizeOf(kClosing));
    const off_t grown = std::max(wanted, former + std::clamp(former, kLeastGrowth, kMostGrowth));
    const off_t closing = grown - sizeOf(kClosing);
    // As long as all that follows the end is space, the array is whole, even on a full disk.
    put(former, spaces(grown - former));
    put(m_closing, spaces(sizeOf(kClosing)));
    put(closing, kClosing);
    m_closing = closing;
}

void TraceFile::put(off_t position, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = pwrite(m_file, text.data(), text.size(), position);
        if (count < 0) {
            fail(errno);
        }
        position += count;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

void TraceFile::fail(int error) const {
    throw std::system_error(error, std::generic_category(), m_path);
}

}  // namespace call_trace
