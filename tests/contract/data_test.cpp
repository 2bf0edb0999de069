// The data of the protocol: that it can be read, that its schemas describe it, that a mistake in it
// is told with its place, and that no command is missing in it.

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>
#include <vector>

#include "contract.h"
#include "module_path.h"
#include "temporary_folder.h"

namespace contract {
namespace {

using nlohmann::json;
using Names = std::set<std::string>;

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

/// A change that breaks a file, and what is said about it.
struct Mistake {
    const char* title;
    void (*make)(json&);
    const char* complaint;
};

/// For the lists of tests, instead of its bytes.
void PrintTo(const Mistake& mistake, std::ostream* out) { *out << mistake.title; }

class AMistake : public ::testing::TestWithParam<Mistake> {
  protected:
    /// What the reader says of the file with the mistake in it.
    template <typename Read>
    static std::string complaintOf(Read read, const std::string& name) {
        json document = json::parse(textOf(dataFile(name)));
        GetParam().make(document);
        const support::TemporaryFolder folder;
        try {
            read(folder.write(name, document.dump()));
            return "it was read";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }
};

using InTheProtocol = AMistake;
using InTheContract = AMistake;

TEST_P(InTheProtocol, IsToldWithItsPlace) {
    EXPECT_EQ(complaintOf(&readProtocol, "protocol.json"), GetParam().complaint);
}

TEST_P(InTheContract, IsToldWithItsPlace) {
    EXPECT_EQ(complaintOf(&readContract, "contract.json"), GetParam().complaint);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(AMistake, InTheProtocol, ::testing::Values(
    Mistake{"NoCommands", [](json& data) { data.erase("commands"); },
            R"(protocol.json: "commands" is missing)"},
    Mistake{"NoTitle", [](json& data) { data["commands"][3].erase("title"); },
            R"(protocol.json: "commands"[3] sso_plugin_showTermsPage: "title" is missing)"},
    Mistake{"AMisspeltMember", [](json& data) { data["commands"][3]["titel"] = ""; },
            R"(protocol.json: "commands"[3] sso_plugin_showTermsPage: what is "titel"?)"},
    Mistake{"AWrongType", [](json& data) { data["commands"][3]["title"] = 7; },
            R"(protocol.json: "commands"[3] sso_plugin_showTermsPage: "title": has to be a text, is 7)"},
    Mistake{"AnUnknownPath", [](json& data) { data["commands"][3]["path"] = "later"; },
            R"(protocol.json: "commands"[3] sso_plugin_showTermsPage: "path": has to be async or blocking)"},
    Mistake{"AnUnknownPrivilege", [](json& data) { data["commands"][3]["privilege"] = "sso.partners"; },
            R"(protocol.json: "commands"[3] sso_plugin_showTermsPage: "privilege": there is no sso.partners)"},
    Mistake{"AnUnknownAnswerType", [](json& data) { data["commands"][3]["answer"]["type"] = "int"; },
            R"(protocol.json: "commands"[3] sso_plugin_showTermsPage: "answer": "type": has to be text or number)"},
    Mistake{"ACommandTwice", [](json& data) { data["commands"][4] = data["commands"][3]; },
            R"(protocol.json: "commands"[4] sso_plugin_showTermsPage: is there already)"},
    Mistake{"NoTextForNotStarted", [](json& data) { data["commands"][3].erase("notStarted"); },
            R"(protocol.json: "commands"[3] sso_plugin_showTermsPage: "notStarted" is missing)"},
    Mistake{"AFractionForANumber", [](json& data) { data["paths"]["async"]["errors"][0]["number"] = 1.5; },
            R"(protocol.json: "paths": "async": "errors"[0] noDictionary: "number": has to be a whole number, is 1.5)"}),
    [](const auto& info) { return std::string(info.param.title); });

INSTANTIATE_TEST_SUITE_P(AMistake, InTheContract, ::testing::Values(
    Mistake{"NoOutcomeOfACommand", [](json& data) { data["nobody"].erase("sso_plugin_getGuid"); },
            R"(contract.json: "nobody": "sso_plugin_getGuid" is missing)"},
    Mistake{"AnOutcomeOfAnotherType", [](json& data) { data["nobody"]["sso_plugin_getGuid"] = 1; },
            R"(contract.json: "nobody": "sso_plugin_getGuid": sso_plugin_getGuid answers with a text, not with 1)"},
    Mistake{"AnOutcomeOfNoCommand", [](json& data) { data["nobody"]["sso_plugin_signOut"] = 1; },
            R"(contract.json: "nobody": "sso_plugin_signOut": there is no such command)"},
    Mistake{"AnUnknownError", [](json& data) { data["rows"][0]["error"] = "noMessage"; },
            R"(contract.json: "rows"[0] a message that is null: "error": there is no such error of async)"},
    Mistake{"AnUnknownPath", [](json& data) { data["rows"][0]["path"] = "later"; },
            R"(contract.json: "rows"[0] a message that is null: "path": has to be async or blocking)"},
    Mistake{"AnUnknownPrivilege", [](json& data) { data["rows"][0]["privileges"] = {"sso.partners"}; },
            R"(contract.json: "rows"[0] a message that is null: "privileges"[0]: there is no sso.partners)"},
    Mistake{"NoAnswer", [](json& data) { data["rows"][0].erase("error"); },
            R"(contract.json: "rows"[0] a message that is null: needs an error or an outcome)"},
    Mistake{"AnUnknownCommandOnAVisit", [](json& data) { data["visits"]["signed-in.json"][0]["command"] = "sso_plugin_signOut"; },
            R"(contract.json: "visits": "signed-in.json"[0] sso_plugin_signOut: "command": there is no sso_plugin_signOut)"}),
    [](const auto& info) { return std::string(info.param.title); });
// clang-format on

Names commands() {
    Names names;
    for (const Command& command : protocol().commands) names.insert(command.name);
    return names;
}

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
        EXPECT_EQ(used, commands()) << nameOf(visit.setting);
    }
    EXPECT_EQ(visits, 3) << "signed in, signed out, and when everything fails";
}

/// Names that begin like a command's, wherever they stand in the module.
Names commandsIn(const std::string& module) {
    static const std::string kBegin = "sso_plugin_";
    const std::string bytes = textOf(module);
    Names names;
    for (std::size_t at = bytes.find(kBegin); at != std::string::npos;
         at = bytes.find(kBegin, at + 1)) {
        std::size_t end = at;
        while (std::isalnum(static_cast<unsigned char>(bytes[end])) != 0 || bytes[end] == '_')
            ++end;
        names.insert(bytes.substr(at, end - at));
    }
    return names;
}

// A command that the plug-in knows and the data does not cannot be seen from outside: no request
// is made with it.
TEST(TheModule, NamesTheCommandsOfTheDataAndNoOther) {
    EXPECT_EQ(commandsIn(support::modulePath()), commands());
}

}  // namespace
}  // namespace contract
