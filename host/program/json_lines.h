#ifndef HOST_PROGRAM_JSON_LINES_H_
#define HOST_PROGRAM_JSON_LINES_H_

#include <atomic>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "host/value.h"

/// A stream of JSON objects, one in a line. Any thread.
class JsonLines {
  public:
    /// Members of an object, in order.
    using Fields = std::vector<std::pair<std::string, host::Value>>;

    /// @param file  open, and not closed here.
    explicit JsonLines(std::FILE* file) : m_file(file) {}

    void write(const Fields& fields);
    /// In one piece and at once.
    void writeLine(const std::string& line);

    /// Whether it took everything so far.
    bool works() const { return m_works; }

  private:
    std::FILE* m_file;
    std::atomic<bool> m_works = true;
};

#endif
