#ifndef BASE_FILE_VALUE_H_
#define BASE_FILE_VALUE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/json_node.h"

namespace base {

/// A file that is not as it has to be. what() has a line for each mistake: the file's name, the place
/// there, the member, as far as they can be told, and what is wrong. It quotes no text of the file but
/// names of members.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The text of a file of at most 1 MiB.
///
/// @throws FileError  when it cannot be read.
std::string readFile(const std::string& path);

/// A value of a JSON file that a person writes, and where it stands. What gives it as some type throws
/// FileError when it is not of that type; all mistakes of an object, a dictionary or an array at once.
class FileValue {
  public:
    using Read = std::function<void(const FileValue&)>;
    /// A member that an object may have.
    struct Member {
        enum Need { Optional, Required };
        const char* name;
        Need need;
        Read read;
    };

    /// Reads a whole file.
    ///
    /// @param text  its content.
    /// @param file  its name, for errors.
    static void readAll(const std::string& file, std::string_view text, const Read& read);

    bool isObject() const;
    bool boolean() const;
    /// From 0 to `largest`.
    ///
    /// @param largest  at most 2 to the 53rd, beyond which numbers of JSON are not exact.
    std::int64_t wholeNumber(std::int64_t largest) const;
    /// Has no NUL, which would end it for C.
    const std::string& text() const;
    const std::string& text(std::size_t mostBytes) const;
    const std::string& filledText() const;
    const std::string& filledText(std::size_t mostBytes) const;

    /// Reads an object, which has no other members than these.
    void object(const std::vector<Member>& members) const;
    /// Reads an object whose members have names as the person wants.
    void dictionary(const std::function<void(const std::string&, const FileValue&)>& read) const;
    void array(const Read& read) const;

    const std::string& path() const { return m_path; }
    [[noreturn]] void fail(const std::string& what) const;

  private:
    FileValue(const std::string& file, std::string path, const JsonNode& node)
        : m_file(file), m_path(std::move(path)), m_node(node) {}
    class Mistakes;
    /// Tells also of those that are there twice.
    const JsonNode::Object& members(Mistakes& mistakes) const;
    std::string pathOf(const std::string& member) const;
    [[noreturn]] void fail(std::size_t line, const std::string& path,
                           const std::string& what) const;

    const std::string& m_file;
    const std::string m_path;  ///< from the whole file to here, empty for that itself
    const JsonNode& m_node;
};

}  // namespace base

#endif
