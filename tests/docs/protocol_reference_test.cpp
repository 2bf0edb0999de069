// The protocol's reference: what its examples and tables say is what the plug-in does.

#include "document.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/value_json.h"
#include "module_path.h"
#include "process.h"

namespace {

using contract::Command;
using contract::Path;
using docs::Example;
using host::Value;

class TheProtocolReference : public ::testing::Test {
  protected:
    const docs::Document m_reference = docs::readDocument(SSO_SOURCE_DIR "/docs/protocol.md");

    std::vector<Example> examplesOf(const Command& command) const {
        std::vector<Example> found;
        for (const Example& example : m_reference.examples) {
            if (example.path != command.path || !example.request.isDictionary()) continue;
            if (example.request["command"] == Value(command.name)) found.push_back(example);
        }
        return found;
    }
};

/// What a page gets for the requests, sent one after the other.
std::vector<Value> answersTo(const std::vector<Example>& examples) {
    std::vector<std::string> command = {
        support::builtPath("bin/sso-host"), "--module", support::modulePath(), "--account",
        SSO_SOURCE_DIR "/account/examples/" + examples.front().account + ".json"};
    std::istringstream privileges(examples.front().privileges);
    for (std::string name; std::getline(privileges, name, ',');) {
        command.insert(command.end(), {"--grant", name});
    }
    support::ProcessOptions options;
    for (const Example& example : examples) {
        const bool async = example.path == Path::Async;
        options.input += async ? "{\"post\":" : "{\"call\":";
        options.input += host::writeJson(example.request) + "}\n";
        if (async) options.input += "{\"wait\":1}\n";
    }
    const support::ProcessResult result = support::runProcess(command, options);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    // A refusal is explained there.
    EXPECT_THAT(result.errorLines(), ::testing::Each(::testing::HasSubstr(" was refused: ")));
    std::vector<Value> answers;
    for (const std::string& line : result.outputLines()) {
        const Value event = host::parseJson(line);
        for (const char* kind : {"message", "reply"}) {
            if (event.has(kind)) answers.push_back(event[kind]);
        }
    }
    return answers;
}

TEST_F(TheProtocolReference, ShowsWhatThePlugInAnswers) {
    // Those of one account and application are one visit, in the order of the text.
    std::map<std::pair<std::string, std::string>, std::vector<Example>> visits;
    for (const Example& example : m_reference.examples) {
        visits[{example.account, example.privileges}].push_back(example);
    }
    for (const auto& [setting, examples] : visits) {
        SCOPED_TRACE(setting.first + " with " + setting.second);
        const std::vector<Value> answers = answersTo(examples);
        ASSERT_EQ(answers.size(), examples.size());
        for (std::size_t i = 0; i < answers.size(); ++i) {
            EXPECT_EQ(answers[i], examples[i].answer) << "line " << examples[i].line;
        }
    }
}

bool hasRequiredKey(const Command& command) {
    return std::any_of(command.keys.begin(), command.keys.end(),
                       [](const contract::Key& key) { return key.required; });
}

TEST_F(TheProtocolReference, HasExamplesOfSuccessAndOfEachFailure) {
    for (const Command& command : contract::protocol().commands) {
        SCOPED_TRACE(command.name);
        const contract::PathRules& rules = contract::protocol().rules(command.path);
        std::vector<std::string> names;
        for (const Example& example : examplesOf(command)) {
            names.push_back(example.answer[rules.numberKey] == Value(rules.success)
                                ? "success"
                                : example.answer["errorName"].asString());
        }
        EXPECT_THAT(names, ::testing::Contains("success"));
        if (command.path == Path::Async) {
            EXPECT_THAT(names, ::testing::Contains(rules.error("notStarted").name));
        }
        if (hasRequiredKey(command)) {
            EXPECT_THAT(names, ::testing::Contains(rules.error("badKey").name));
        }
    }
}

TEST_F(TheProtocolReference, LinksToWhatIsThere) {
    EXPECT_FALSE(m_reference.links.empty());
    for (const std::string& link : m_reference.links) {
        EXPECT_THAT(m_reference.anchors, ::testing::Contains(link));
    }
}

}  // namespace
