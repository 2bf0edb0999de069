#ifndef ACCOUNT_FILE_VALUE_H_
#define ACCOUNT_FILE_VALUE_H_

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "json_node.h"

namespace account {

/// A value of an account file, and where it stands. What gives it as some type throws
/// AccountFileError, with file, line and path, when it is not of that type.
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

    /// The value of a whole file. The name and the node are not copied.
    FileValue(const std::string& file, const JsonNode& node) : FileValue(file, "", node) {}

    bool boolean() const;
    /// From 0 to `largest`.
    int wholeNumber(int largest) const;
    /// Has no NUL, which would end it for C.
    const std::string& text() const;
    const std::string& text(std::size_t mostBytes) const;
    const std::string& filledText() const;

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
    const JsonNode::Object& members() const;
    std::string pathOf(const std::string& member) const;
    [[noreturn]] void fail(std::size_t line, const std::string& path,
                           const std::string& what) const;

    const std::string& m_file;
    const std::string m_path;  ///< from the whole file to here, empty for that itself
    const JsonNode& m_node;
};

}  // namespace account

#endif
