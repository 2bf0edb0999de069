// That docs/desk.md is true.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "desk.h"
#include "document.h"
#include "protocol_data.h"

namespace {

using Json = nlohmann::ordered_json;
using support::ProcessResult;
using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

const docs::Document& guide() {
    static const docs::Document document =
        docs::readDocument(std::string(SSO_SOURCE_DIR) + "/docs/desk.md");
    return document;
}

/// All texts in a cell that are set as code.
std::vector<std::string> codesOf(const std::string& cell) {
    static const std::regex code("`([^`]*)`");
    std::vector<std::string> codes;
    for (std::sregex_iterator match(cell.begin(), cell.end(), code), end; match != end; ++match) {
        codes.push_back((*match)[1]);
    }
    return codes;
}

/// A row of the table of outcomes.
struct Row {
    const contract::Command* command = nullptr;
    std::vector<std::string> verbs;
    Json answer;
};

std::vector<Row> outcomes() {
    std::vector<Row> rows;
    for (const std::string& line : tableOf(guide(), "| Command | What happens").rows) {
        const auto cells = docs::cellsOf(line);
        Row row;
        row.command = contract::protocol().find(docs::codeOf(cells.at(0)));
        row.verbs = codesOf(cells.at(2));
        row.answer = Json::parse(docs::codeOf(cells.at(3)));
        rows.push_back(std::move(row));
    }
    return rows;
}

Json requestOf(const contract::Command& command) {
    Json request = {{"command", command.name}};
    for (const contract::Key& key : command.keys) request[key.name] = key.example;
    return {{command.path == contract::Path::Async ? "post" : "call", request}};
}

TEST(TheTableOfOutcomes, HasEachOutcomeOfEachCommand) {
    std::set<std::string> told;
    for (const Row& row : outcomes()) {
        ASSERT_NE(row.command, nullptr);
        told.insert(row.command->name + " " + row.answer.dump());
    }
    // What any command has, by its answer's kind; then what some have besides.
    for (const contract::Command& command : contract::protocol().commands) {
        SCOPED_TRACE(command.name);
        std::vector<Json> wanted;
        if (command.path == contract::Path::Async) {
            wanted.push_back(
                {{"status", -1}, {"errorName", "error"}, {"errorMessage", command.notStarted}});
            if (command.answerKey == "state") {
                for (const int state : {0, 1, 2, 3})
                    wanted.push_back({{"status", 0}, {"state", state}});
            } else if (command.answerKey == "result") {
                const bool adds = command.name.find("add") != std::string::npos;
                for (const int result : {0, -2, -3, adds ? -4 : -5, adds ? -6 : -5}) {
                    wanted.push_back({{"status", 0}, {"result", result}});
                }
            } else {
                wanted.push_back({{"status", 0}, {command.answerKey, ""}});
            }
        } else if (command.name != "sso_plugin_getVersion") {
            const Json nothing =
                command.answerType == contract::OutcomeType::Text ? Json("") : Json(0);
            wanted.push_back(
                {{"code", 0}, {"value", nothing}, {"errorName", ""}, {"errorMessage", ""}});
        }
        for (const Json& answer : wanted) {
            EXPECT_THAT(told, Contains(command.name + " " + answer.dump()));
        }
        int successes = 0;
        for (const Row& row : outcomes()) {
            if (row.command->name != command.name) continue;
            const Json value = row.answer.value(command.answerKey, Json(""));
            if (value != "") ++successes;
        }
        EXPECT_GE(successes, 1);
    }
}

TEST(TheTableOfOutcomes, IsTrueWithAtMostTwoVerbsEach) {
    Desk desk;
    for (const Row& row : outcomes()) {
        const std::string request = requestOf(*row.command).dump();
        SCOPED_TRACE(request + " -> " + row.answer.dump());
        EXPECT_LE(row.verbs.size(), 2U);
        std::string script = "ssoctl reset --all && ssoctl reset && {\n";
        for (const std::string& verb : row.verbs) script += "ssoctl " + verb + " >/dev/null &&\n";
        script += "echo '" + request + "' | sso-host --state default --grant partner,platform; }";
        const ProcessResult result = desk.bash(script);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        const Json event = Json::parse(result.output, nullptr, false);
        ASSERT_TRUE(event.is_object()) << result.output;
        const bool isAsync = row.command->path == contract::Path::Async;
        nlohmann::json expected = nlohmann::json::parse(row.answer.dump());
        if (isAsync) expected["command"] = row.command->name;
        EXPECT_EQ(nlohmann::json::parse(event.value(isAsync ? "message" : "reply", Json()).dump()),
                  expected);
    }
}

TEST(TheGuideOfTheDesk, ShowsWhatItsCommandsPrint) {
    Desk desk;
    int count = 0;
    for (const docs::Block& block : guide().blocks) {
        if (block.language == "scenario") desk.folder().write("here/my.scenario", block.text);
        if (block.language != "console") continue;
        for (const auto& [command, printed] : docs::commandsOf(block)) {
            SCOPED_TRACE(command);
            EXPECT_EQ(desk.bash("{ " + command + "\n} 2>&1").output, printed);
            ++count;
        }
    }
    EXPECT_GT(count, 20);
}

TEST(TheGuideOfTheDesk, HasAJobForContinuousIntegrationThatPasses) {
    Desk desk(Desk::Bus::StartedByPrograms);
    int count = 0;
    for (const docs::Block& block : guide().blocks) {
        if (block.language != "sh") continue;
        const ProcessResult result = desk.bash(block.text);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        EXPECT_THAT(result.output, HasSubstr(R"("status":0)"));
        EXPECT_THAT(result.output, HasSubstr(R"("signedIn":"robin@user.example")"));
        ++count;
    }
    EXPECT_EQ(count, 1);
}

TEST(TheGuideOfTheDesk, HasTheExitCodesOfTheHelp) {
    Desk desk;
    const std::string help = desk.output("ssoctl --help");
    std::vector<std::string> codes;
    static const std::regex code("\n  (\\d)  ([^\n]*)");
    for (auto next = std::sregex_iterator(help.begin(), help.end(), code);
         next != std::sregex_iterator(); ++next) {
        codes.push_back("| " + (*next)[1].str() + " | " + (*next)[2].str() + " |");
    }
    EXPECT_EQ(codes.size(), 5U);
    EXPECT_THAT(tableOf(guide(), "| Exit code | What").rows, ElementsAreArray(codes));
}

}  // namespace
