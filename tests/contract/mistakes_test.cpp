// A mistake in the data is told with its place.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <ostream>
#include <stdexcept>
#include <string>

#include "contract.h"
#include "temporary_folder.h"

namespace contract {
namespace {

using nlohmann::json;

constexpr const char* kProtocol = R"json({
  "privileges": [{ "name": "sso.partner", "identifier": "/privilege/sso.partner" }],
  "paths": {
    "async": {
      "send": "post", "number": "status", "success": 0,
      "errors": [
        { "kind": "noDictionary", "number": -1, "errorName": "bad", "when": "it is none" },
        { "kind": "noPrivilege", "number": 18, "errorName": "refused", "when": "it is lacking" },
        { "kind": "otherPath", "number": -1, "errorName": "unknown", "when": "it is blocking" },
        { "kind": "badKey", "number": -1, "errorName": "bad", "when": "it is missing" },
        { "kind": "notStarted", "number": -1, "errorName": "error", "when": "it cannot be" }
      ]
    },
    "blocking": {
      "send": "ask", "number": "code", "success": 0,
      "errors": [
        { "kind": "noPrivilege", "number": 18, "errorName": "refused", "when": "it is lacking" },
        { "kind": "otherPath", "number": -2, "errorName": "unknown", "when": "it is posted" }
      ]
    }
  },
  "commands": [
    { "name": "sso_plugin_show", "title": "Show", "about": "Shows.", "path": "async",
      "privilege": "sso.partner", "keys": [{ "name": "data", "required": true, "example": "x" }],
      "answer": { "key": "state", "type": "number" }, "notStarted": "not shown" },
    { "name": "sso_plugin_get", "title": "Get", "about": "Gets.", "path": "blocking",
      "privilege": "sso.partner", "keys": [], "answer": { "key": "value", "type": "text" } }
  ],
  "unregistered": "gone"
})json";

constexpr const char* kContract = R"json({
  "nobody": { "sso_plugin_show": 0, "sso_plugin_get": "" },
  "rows": [{ "title": "nothing", "path": "async", "request": null, "error": "noDictionary" }],
  "visits": { "signed-in.json": [{ "command": "sso_plugin_get", "outcome": "robin" }] },
  "failing": "everything-fails.json"
})json";

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
    /// Reads a file with the mistake in it, and returns what is said; nothing when it could be read.
    template <typename Read>
    std::string complaintOf(Read read, const std::string& name, const char* good) {
        json document = json::parse(good);
        GetParam().make(document);
        try {
            read(m_folder.write(name, document.dump()));
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    const support::TemporaryFolder m_folder;
};

using InTheProtocol = AMistake;
using InTheContract = AMistake;

TEST_P(InTheProtocol, IsToldWithItsPlace) {
    EXPECT_EQ(complaintOf(&readProtocol, "protocol.json", kProtocol), GetParam().complaint);
}

TEST_P(InTheContract, IsToldWithItsPlace) {
    const Protocol protocol = readProtocol(m_folder.write("protocol.json", kProtocol));
    const auto read = [&](const std::string& path) { readContract(path, protocol); };
    EXPECT_EQ(complaintOf(read, "contract.json", kContract), GetParam().complaint);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(AMistake, InTheProtocol, ::testing::Values(
    Mistake{"None", [](json&) {}, ""},
    Mistake{"NoCommands", [](json& data) { data.erase("commands"); },
            R"(protocol.json: "commands" is missing)"},
    Mistake{"NoTitle", [](json& data) { data["commands"][0].erase("title"); },
            R"(protocol.json: "commands"[0] sso_plugin_show: "title" is missing)"},
    Mistake{"AMisspeltMember", [](json& data) { data["commands"][0]["titel"] = ""; },
            R"(protocol.json: "commands"[0] sso_plugin_show: what is "titel"?)"},
    Mistake{"AWrongType", [](json& data) { data["commands"][0]["title"] = 7; },
            R"(protocol.json: "commands"[0] sso_plugin_show: "title": has to be a text, is 7)"},
    Mistake{"AnUnknownPath", [](json& data) { data["commands"][0]["path"] = "later"; },
            R"(protocol.json: "commands"[0] sso_plugin_show: "path": has to be async or blocking)"},
    Mistake{"AnUnknownPrivilege", [](json& data) { data["commands"][0]["privilege"] = "sso.partners"; },
            R"(protocol.json: "commands"[0] sso_plugin_show: "privilege": there is no sso.partners)"},
    Mistake{"AnUnknownAnswerType", [](json& data) { data["commands"][0]["answer"]["type"] = "int"; },
            R"(protocol.json: "commands"[0] sso_plugin_show: "answer": "type": has to be text or number)"},
    Mistake{"AMessageThatIsNeverSent", [](json& data) { data["commands"][0]["keys"][0].update({{"required", false}, {"errorMessage", "bad"}}); },
            R"(protocol.json: "commands"[0] sso_plugin_show: "keys"[0] data: a key that is not required is never refused)"},
    Mistake{"AnAnswerOfAUserThatHoldsNothing", [](json& data) { data["commands"][1]["asks"] = {"sso_get"}; data["commands"][1]["answer"]["holds"] = json::array(); },
            R"(protocol.json: "commands"[1] sso_plugin_get: "answer": "holds": what the account service is asked for tells something of a user)"},
    Mistake{"ACommandTwice", [](json& data) { data["commands"].push_back(data["commands"][0]); },
            R"(protocol.json: "commands"[2] sso_plugin_show: is there already)"},
    Mistake{"NoTextForNotStarted", [](json& data) { data["commands"][0].erase("notStarted"); },
            R"(protocol.json: "commands"[0] sso_plugin_show: "notStarted" is missing)"},
    Mistake{"ATextForNotStartedOfABlockingCommand", [](json& data) { data["commands"][1]["notStarted"] = "not got"; },
            R"(protocol.json: "commands"[1] sso_plugin_get: "notStarted": a blocking command starts nothing)"},
    Mistake{"AFractionForANumber", [](json& data) { data["paths"]["async"]["errors"][0]["number"] = 1.5; },
            R"(protocol.json: "paths": "async": "errors"[0] noDictionary: "number": has to be a whole number, is 1.5)"}),
    [](const auto& info) { return std::string(info.param.title); });

INSTANTIATE_TEST_SUITE_P(AMistake, InTheContract, ::testing::Values(
    Mistake{"None", [](json&) {}, ""},
    Mistake{"NoOutcomeOfACommand", [](json& data) { data["nobody"].erase("sso_plugin_get"); },
            R"(contract.json: "nobody": "sso_plugin_get" is missing)"},
    Mistake{"AnOutcomeOfAnotherType", [](json& data) { data["nobody"]["sso_plugin_get"] = 1; },
            R"(contract.json: "nobody": "sso_plugin_get": sso_plugin_get answers with a text, not with 1)"},
    Mistake{"AnOutcomeOfNoCommand", [](json& data) { data["nobody"]["sso_plugin_signOut"] = 1; },
            R"(contract.json: "nobody": "sso_plugin_signOut": there is no such command)"},
    Mistake{"AnUnknownError", [](json& data) { data["rows"][0]["error"] = "noMessage"; },
            R"(contract.json: "rows"[0] nothing: "error": there is no such error of async)"},
    Mistake{"AnUnknownPath", [](json& data) { data["rows"][0]["path"] = "later"; },
            R"(contract.json: "rows"[0] nothing: "path": has to be async or blocking)"},
    Mistake{"AnUnknownPrivilege", [](json& data) { data["rows"][0]["privileges"] = {"sso.partners"}; },
            R"(contract.json: "rows"[0] nothing: "privileges"[0]: there is no sso.partners)"},
    Mistake{"NoAnswer", [](json& data) { data["rows"][0].erase("error"); },
            R"(contract.json: "rows"[0] nothing: needs an error or an outcome)"},
    Mistake{"AnUnknownCommandOnAVisit", [](json& data) { data["visits"]["signed-in.json"][0]["command"] = "sso_plugin_signOut"; },
            R"(contract.json: "visits": "signed-in.json"[0] sso_plugin_signOut: "command": there is no sso_plugin_signOut)"}),
    [](const auto& info) { return std::string(info.param.title); });
// clang-format on

}  // namespace
}  // namespace contract
