#include "data_node.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace contract {

using nlohmann::json;

DataNode DataNode::ofFile(const std::string& path) {
    const std::string name = std::filesystem::path(path).filename();
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + " cannot be read");
    try {
        return {json::parse(file), name};
    } catch (const json::parse_error& error) {
        throw std::runtime_error(name + ": " + error.what());
    }
}

DataNode::DataNode(json value, std::string where)
    : m_value(std::move(value)), m_where(std::move(where)) {}

void DataNode::fail(const std::string& what) const {
    throw std::runtime_error(m_where + ": " + what);
}

const DataNode& DataNode::expect(bool holds, const char* kind) const {
    if (!holds) fail(std::string("has to be ") + kind + ", is " + m_value.dump().substr(0, 80));
    return *this;
}

const DataNode& DataNode::withNoMembersBut(const std::set<std::string>& names) const {
    expect(m_value.is_object(), "an object");
    for (const auto& [name, value] : m_value.items()) {
        if (names.count(name) == 0) fail("what is \"" + name + "\"?");
    }
    return *this;
}

bool DataNode::has(const std::string& member) const {
    return expect(m_value.is_object(), "an object").m_value.contains(member);
}

DataNode DataNode::operator[](const std::string& member) const {
    if (!has(member)) fail('"' + member + "\" is missing");
    return {m_value[member], m_where + ": \"" + member + '"'};
}

std::vector<DataNode> DataNode::elements() const {
    expect(m_value.is_array(), "an array");
    std::vector<DataNode> all;
    for (const json& element : m_value) {
        std::string where = m_where + "[" + std::to_string(all.size()) + "]";
        // What a person calls it.
        for (const char* name : {"name", "title", "kind", "command"}) {
            if (!element.is_object() || !element.contains(name)) continue;
            where += ' ' + (element[name].is_string() ? element[name].get<std::string>() : "?");
            break;
        }
        all.emplace_back(element, where);
    }
    return all;
}

std::vector<std::pair<std::string, DataNode>> DataNode::members() const {
    expect(m_value.is_object(), "an object");
    std::vector<std::pair<std::string, DataNode>> all;
    for (const auto& [name, value] : m_value.items()) all.emplace_back(name, (*this)[name]);
    return all;
}

std::string DataNode::text() const {
    return expect(m_value.is_string(), "a text").m_value.get<std::string>();
}

int DataNode::number() const {
    return expect(m_value.is_number_integer(), "a whole number").m_value.get<int>();
}

bool DataNode::flag() const {
    return expect(m_value.is_boolean(), "true or false").m_value.get<bool>();
}

}  // namespace contract
