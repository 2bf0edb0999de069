#include "log_output.h"

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "dlog.h"
#include "log_file.h"

namespace dlog {
namespace {

/// The least priority that passes, by the name that DLOG_LEVEL gives it.
int leastPriority() {
    constexpr int kAboveAll = 100;
    const char* level = std::getenv("DLOG_LEVEL");
    if (level == nullptr || std::strcmp(level, "detail") == 0) {
        return 0;
    }
    if (std::strcmp(level, "flow") == 0) {
        return DLOG_PRIORITY_WARNING;
    }
    if (std::strcmp(level, "silent") == 0) {
        return kAboveAll;
    }
    std::fprintf(stderr, "dlog: DLOG_LEVEL is \"%s\"; it must be detail, flow or silent\n", level);
    return 0;
}

/// The device's name of a buffer.
const char* bufferName(int buffer) {
    switch (buffer) {
        case DLOG_BUFFER_MAIN:
            return "main";
        case DLOG_BUFFER_SYSTEM:
            return "system";
        default:
            return "?";
    }
}

/// The letter of a priority: the device's list is unknown, default, verbose, and so on.
char priorityLetter(int priority) {
    constexpr char kLetters[] = "??VDIWEF";
    const bool known = priority >= 0 && priority < static_cast<int>(sizeof(kLetters)) - 1;
    return known ? kLetters[priority] : '?';
}

/// Local time, as the C library has it. In a child process of a browser the function of that name is the
/// browser's own: it asks the browser's process over a socket, each time.
tm localTime(std::time_t seconds) {
    static const auto ask =
        reinterpret_cast<decltype(&localtime_r)>(dlsym(RTLD_NEXT, "localtime_r"));
    tm local{};
    if (ask != nullptr) {
        ask(&seconds, &local);
    } else {
        gmtime_r(&seconds, &local);
    }
    return local;
}

/// The system's numbers of the calling thread and its process, asked for once.
struct Numbers {
    pid_t process;
    pid_t thread;
};

Numbers numbersOfThisThread() {
    static thread_local Numbers t_numbers{0, 0};
    // A fork has one thread, which runs this.
    static const int forkHandler = pthread_atfork(nullptr, nullptr, [] {
        t_numbers = Numbers{0, 0};
    });
    static_cast<void>(forkHandler);  // without memory for it, forks log their parent's numbers
    if (t_numbers.process == 0) {
        t_numbers = {getpid(), gettid()};
    }
    return t_numbers;
}

/// A line as it is put together: by hand, since a page waits for a dozen of them.
class Line {
  public:
    /// @param width  fewer digits get `fill` in front.
    void put(long number, std::ptrdiff_t width, char fill) {
        std::array<char, 20> digits;
        const char* end = std::to_chars(digits.begin(), digits.end(), number).ptr;
        for (std::ptrdiff_t missing = width - (end - digits.begin()); missing > 0; --missing) {
            put(fill);
        }
        put({digits.data(), static_cast<std::size_t>(end - digits.begin())});
    }
    void put(char letter) { m_text[m_size++] = letter; }
    /// What is no room for is cut; a letter still fits.
    void put(std::string_view text) {
        const std::size_t size = std::min(text.size(), m_text.size() - 1 - m_size);
        std::memcpy(m_text.data() + m_size, text.data(), size);
        m_size += size;
    }
    /// The same, without "\033[0;32m" and the like.
    void putPlain(std::string_view text) {
        constexpr std::string_view kBegin = "\033[";
        for (std::size_t at = 0; (at = text.find(kBegin, at)) != std::string_view::npos;) {
            const std::size_t end = text.find_first_not_of("0123456789;", at + kBegin.size());
            if (end == std::string_view::npos || text[end] != 'm') {
                at += kBegin.size();  // something else
                continue;
            }
            put(text.substr(0, at));
            text.remove_prefix(end + 1);
            at = 0;
        }
        put(text);
    }

    const char* data() const { return m_text.data(); }
    std::size_t size() const { return m_size; }

  private:
    std::array<char, 4096 + 160> m_text;  // of the longest text, and of what stands before it
    std::size_t m_size = 0;
};

void putTime(Line& line, const timespec& now) {
    const tm local = localTime(now.tv_sec);
    line.put(local.tm_mon + 1, 2, '0');
    line.put('-');
    line.put(local.tm_mday, 2, '0');
    line.put(' ');
    line.put(local.tm_hour, 2, '0');
    line.put(':');
    line.put(local.tm_min, 2, '0');
    line.put(':');
    line.put(local.tm_sec, 2, '0');
    line.put('.');
    line.put(now.tv_nsec / 1000000, 3, '0');
}

void putRecord(Line& line, const DlogRecord& record, const timespec& now, bool hasColours) {
    constexpr std::size_t kLongestTag = 64;
    const Numbers numbers = numbersOfThisThread();
    putTime(line, now);
    line.put(' ');
    line.put(priorityLetter(record.priority));
    line.put('/');
    line.put(std::string_view(record.tag).substr(0, kLongestTag));
    line.put('(');
    line.put(numbers.process, 5, ' ');
    line.put(':');
    line.put(numbers.thread, 5, ' ');
    line.put(") [");
    line.put(bufferName(record.buffer));
    line.put("] ");
    if (hasColours) {
        line.put(record.text);
    } else {
        line.putPlain(record.text);
    }
    line.put('\n');
}

}  // namespace

bool passes(int priority) {
    static const int least = leastPriority();
    return priority >= least;
}

void writeRecord(const DlogRecord& record) {
    if (!passes(record.priority)) {
        return;
    }
    static LogFile file;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    Line line;
    putRecord(line, record, now, file.isTerminal());
    file.write(line.data(), line.size(), now.tv_sec);
}

}  // namespace dlog
