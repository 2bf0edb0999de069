#ifndef SUPPORT_PROCESS_H_
#define SUPPORT_PROCESS_H_

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

/// Runs a program to its end, with text in and text out.
namespace support {

/// How a program ended and what it wrote.
struct ProcessResult {
    int exitCode = -1;      ///< -1 when a signal ended it
    int signal = 0;         ///< that ended it
    bool timedOut = false;  ///< it was killed
    std::string output;
    std::string errors;

    std::vector<std::string> outputLines() const { return linesOf(output); }
    std::vector<std::string> errorLines() const { return linesOf(errors); }

  private:
    static std::vector<std::string> linesOf(const std::string& text) {
        std::vector<std::string> lines;
        for (std::size_t start = 0; start < text.size();) {
            std::size_t end = text.find('\n', start);
            if (end == std::string::npos) end = text.size();
            lines.push_back(text.substr(start, end - start));
            start = end + 1;
        }
        return lines;
    }
};

struct ProcessOptions {
    std::string input;                     ///< for its standard input, which is closed afterwards
    bool closedInput = false;              ///< it starts without any standard input
    bool closedOutput = false;             ///< nobody reads its standard output
    std::vector<std::string> environment;  ///< "NAME=value", on top of this program's own
    std::chrono::seconds timeout{60};
    /// Told whenever the program has written: its process id, and all of its output so far.
    std::function<void(pid_t, const std::string&)> onOutput;
};

namespace detail {

class Pipe {
  public:
    Pipe() {
        if (pipe2(m_ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
    }
    ~Pipe() {
        closeRead();
        closeWrite();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int readEnd() const { return m_ends[0]; }
    int writeEnd() const { return m_ends[1]; }
    void closeRead() { close(m_ends[0]); }
    void closeWrite() { close(m_ends[1]); }

  private:
    static void close(int& descriptor) {
        if (descriptor >= 0) ::close(descriptor);
        descriptor = -1;
    }

    int m_ends[2] = {-1, -1};
};

/// A write to a program that has left is an error here, not this program's end.
class IgnoredPipeSignal {
  public:
    IgnoredPipeSignal() : m_before(::signal(SIGPIPE, SIG_IGN)) {}
    ~IgnoredPipeSignal() { ::signal(SIGPIPE, m_before); }
    IgnoredPipeSignal(const IgnoredPipeSignal&) = delete;
    IgnoredPipeSignal& operator=(const IgnoredPipeSignal&) = delete;

  private:
    void (*m_before)(int);
};

inline pid_t spawn(const std::vector<std::string>& command, const ProcessOptions& options,
                   const Pipe& in, const Pipe& out, const Pipe& err) {
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);

    // Each name once: programs take the first of two, the dynamic linker the last.
    std::vector<std::string> variables = options.environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string variable = *entry;
        const std::string name = variable.substr(0, variable.find('=') + 1);
        const bool replaced = std::any_of(
            options.environment.begin(), options.environment.end(),
            [&](const std::string& other) { return other.compare(0, name.size(), name) == 0; });
        if (!replaced) variables.push_back(variable);
    }
    std::vector<char*> environment;
    for (std::string& variable : variables) environment.push_back(variable.data());
    environment.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (options.closedInput) {
        posix_spawn_file_actions_addclose(&actions, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_adddup2(&actions, in.readEnd(), STDIN_FILENO);
    }
    posix_spawn_file_actions_adddup2(&actions, out.writeEnd(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.writeEnd(), STDERR_FILENO);
    // An ignored signal would stay ignored in the program.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    pid_t child = 0;
    const int error = posix_spawn(&child, command.front().c_str(), &actions, &attributes,
                                  arguments.data(), environment.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::system_error(error, std::generic_category(), command.front());
    return child;
}

/// @return false at the end of what the descriptor gives.
inline bool readSome(int descriptor, std::string& text) {
    char buffer[65536];
    const ssize_t count = read(descriptor, buffer, sizeof buffer);
    if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN));
}

/// @return false when there is no more to write, or nobody who reads.
inline bool writeSome(int descriptor, const std::string& text, std::size_t& written) {
    const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
    if (count > 0) written += static_cast<std::size_t>(count);
    if (count < 0) return errno == EINTR || errno == EAGAIN;
    return written < text.size();
}

}  // namespace detail

/// Starts a program, feeds it, and waits for its end; kills it when that takes too long.
///
/// @param command  its path and its arguments.
/// @throws std::system_error  when it cannot be started.
inline ProcessResult runProcess(const std::vector<std::string>& command,
                                const ProcessOptions& options = {}) {
    using Clock = std::chrono::steady_clock;
    const detail::IgnoredPipeSignal ignored;
    detail::Pipe in;
    detail::Pipe out;
    detail::Pipe err;
    if (options.closedOutput) out.closeRead();
    const pid_t child = detail::spawn(command, options, in, out, err);
    in.closeRead();
    out.closeWrite();
    err.closeWrite();
    fcntl(in.writeEnd(), F_SETFL, O_NONBLOCK);
    if (options.input.empty()) in.closeWrite();

    ProcessResult result;
    std::size_t written = 0;
    const Clock::time_point deadline = Clock::now() + options.timeout;
    while (in.writeEnd() >= 0 || out.readEnd() >= 0 || err.readEnd() >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            result.timedOut = true;
            kill(child, SIGKILL);
            break;
        }
        pollfd waiting[] = {
            {in.writeEnd(), POLLOUT, 0}, {out.readEnd(), POLLIN, 0}, {err.readEnd(), POLLIN, 0}};
        poll(waiting, 3, static_cast<int>(left));
        if (waiting[0].revents != 0 && !detail::writeSome(in.writeEnd(), options.input, written)) {
            in.closeWrite();
        }
        if (waiting[1].revents != 0 && !detail::readSome(out.readEnd(), result.output)) {
            out.closeRead();
        } else if (waiting[1].revents != 0 && options.onOutput) {
            options.onOutput(child, result.output);
        }
        if (waiting[2].revents != 0 && !detail::readSome(err.readEnd(), result.errors)) {
            err.closeRead();
            in.closeWrite();  // it has left
        }
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

}  // namespace support

#endif
