#ifndef CONTRACT_DATA_NODE_H_
#define CONTRACT_DATA_NODE_H_

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace contract {

/// A value of a data file that knows where it stands, so that every complaint says so:
/// protocol.json: commands[3] sso_plugin_showTermsPage: "title" is missing
class DataNode {
  public:
    /// The whole of a file.
    ///
    /// @throws std::runtime_error  when it cannot be read or is no JSON; as all functions below for a
    /// value of another kind.
    static DataNode ofFile(const std::string& path);

    DataNode(nlohmann::json value, std::string where);

    /// Refuses an object that has other members.
    const DataNode& withNoMembersBut(const std::set<std::string>& names) const;

    bool has(const std::string& member) const;
    DataNode operator[](const std::string& member) const;  ///< has to be there
    std::vector<DataNode> elements() const;
    std::vector<std::pair<std::string, DataNode>> members() const;

    const nlohmann::json& value() const { return m_value; }
    std::string text() const;
    int number() const;
    bool flag() const;

    /// Says that the value is not what it has to be.
    [[noreturn]] void fail(const std::string& what) const;

  private:
    const DataNode& expect(bool holds, const char* kind) const;

    nlohmann::json m_value;
    std::string m_where;
};

}  // namespace contract

#endif
