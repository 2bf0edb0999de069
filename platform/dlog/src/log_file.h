#ifndef DLOG_LOG_FILE_H_
#define DLOG_LOG_FILE_H_

#include <array>
#include <atomic>
#include <climits>
#include <cstddef>
#include <ctime>

namespace dlog {

/// Where lines go: the file that DLOG_FILE names, or standard error. A file that cannot be written stops and
/// ends nothing: what goes into a full pipe, or one that nobody reads, is lost. There is one, and it stays
/// open: threads may log until the process ends. Any thread.
class LogFile {
  public:
    /// Opens it. The environment is looked at once. What cannot be opened is told on standard error, which
    /// then takes its place.
    LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    bool isTerminal() const { return m_isTerminal; }

    /// Writes a line by one write, so that lines of several threads and processes stay whole.
    ///
    /// @param now  in seconds. With a new one a file that was renamed or removed meanwhile, as those do who
    ///             keep logs short, is opened again under its name.
    void write(const char* line, std::size_t size, std::time_t now);

  private:
    int open();
    int openNamed() const;
    void follow(std::time_t now);

    std::array<char, PATH_MAX> m_path{};  ///< absolute; empty for standard error
    const int m_file;
    const bool m_isTerminal;
    const bool m_isPipe;  ///< a named one; that of standard error is the program's
    std::atomic<std::time_t> m_lookedAt = 0;
};

}  // namespace dlog

#endif
