// The data of the protocol: that it can be read, that its schemas describe it, and that no command is
// missing in it.

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>
#include <vector>

#include "contract.h"
#include "every_command.h"
#include "module_path.h"

namespace contract {
namespace {

using nlohmann::json;

std::string textOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(TheData, CanBeRead) {
    EXPECT_FALSE(protocol().commands.empty());
    EXPECT_FALSE(readContract().empty());
}

/// What a schema has against a document, a line each.
std::string complaints(const std::string& schemaText, const json& document) {
    const json schemaDocument = json::parse(schemaText);
    valijson::Schema schema;
    valijson::SchemaParser(valijson::SchemaParser::kDraft7)
        .populateSchema(valijson::adapters::NlohmannJsonAdapter(schemaDocument), schema);
    valijson::ValidationResults results;
    valijson::Validator().validate(schema, valijson::adapters::NlohmannJsonAdapter(document),
                                   &results);
    std::string lines;
    for (valijson::ValidationResults::Error error; results.popError(error);) {
        for (const std::string& step : error.context) lines += step;
        lines += ": " + error.description + '\n';
    }
    return lines;
}

class ASchemaOfTheData : public ::testing::TestWithParam<std::string> {
  protected:
    const std::string m_schema = textOf(dataFile(GetParam() + ".schema.json"));
    const json m_document = json::parse(textOf(dataFile(GetParam() + ".json")));
};

TEST_P(ASchemaOfTheData, AcceptsIt) { EXPECT_EQ(complaints(m_schema, m_document), ""); }

TEST_P(ASchemaOfTheData, RefusesAMemberThatItDoesNotKnow) {
    json document = m_document;
    document["another"] = 1;
    EXPECT_NE(complaints(m_schema, document), "");
}

TEST_P(ASchemaOfTheData, IsFoundByAnEditor) {
    EXPECT_EQ(m_document.at("$schema"), GetParam() + ".schema.json");
}

INSTANTIATE_TEST_SUITE_P(Named, ASchemaOfTheData, ::testing::Values("protocol", "contract"),
                         [](const auto& info) { return info.param; });

TEST(TheContractsVisits, UseEveryCommand) {
    int visits = 0;
    for (const Visit& visit : readContract()) {
        if (visit.setting.account.empty() ||
            visit.setting.privileges.size() != protocol().privileges.size()) {
            continue;
        }
        ++visits;
        Names used;
        for (const Row& row : visit.rows) used.insert(row.request["command"].get<std::string>());
        expectEveryCommand(used, protocol().commands, nameOf(visit.setting));
    }
    EXPECT_EQ(visits, 3) << "signed in, signed out, and when everything fails";
}

/// Texts of the module that end in a name like a command's. What goes on after the name is another
/// text: a path of the build, which a module with counters has in it.
Names commandsIn(const std::string& module) {
    static const std::string kBegin = "sso_plugin_";
    const std::string bytes = textOf(module);
    Names names;
    for (std::size_t at = bytes.find(kBegin); at != std::string::npos;
         at = bytes.find(kBegin, at + 1)) {
        std::size_t end = at;
        while (std::isalnum(static_cast<unsigned char>(bytes[end])) != 0 || bytes[end] == '_') {
            ++end;
        }
        if (bytes[end] == '\0') names.insert(bytes.substr(at, end - at));
    }
    return names;
}

// A command that the plug-in knows and the data does not cannot be seen from outside: no request
// is made with it.
TEST(TheModule, NamesTheCommandsOfTheDataAndNoOther) {
    expectEveryCommand(commandsIn(support::modulePath()), protocol().commands, "the module");
}

}  // namespace
}  // namespace contract
