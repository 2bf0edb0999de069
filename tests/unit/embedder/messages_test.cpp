// What the programs say of messages.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "embedder/commands.h"
#include "embedder/message_journal.h"
#include "thread_tools.h"

namespace {

using embedder::explainRefusal;
using embedder::MessageJournal;
using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class TheJournal : public ::testing::Test {
  protected:
    /// Of a line, without its time and how long the answer took.
    json line(std::size_t number) const {
        json object = json::parse(m_lines.at(number));
        object.erase("time");
        if (object.contains("milliseconds")) {
            EXPECT_GE(object["milliseconds"].get<double>(), 0);
            object["milliseconds"] = "some";
        }
        return object;
    }

    /// The command of the request that a message answers, or "nothing".
    std::string answered(int instance, const std::string& message, const std::string& command) {
        const auto asked = m_journal.answered(instance, message, command);
        return asked ? asked->command : "nothing";
    }

    std::vector<std::string> unanswered() const {
        std::vector<std::string> names;
        for (const auto& request : m_journal.unanswered()) {
            names.push_back(std::to_string(request.instance) + " " + request.command);
        }
        return names;
    }

    std::vector<std::string> m_lines;
    MessageJournal m_journal{[this](const std::string& text) { m_lines.push_back(text); }};
};

TEST_F(TheJournal, WritesARequestAndItsAnswer) {
    m_journal.posted(1, R"({"command":"x"})", "x");
    EXPECT_THAT(m_lines[0], MatchesRegex(R"(\{"time":"[0-9T:.-]+Z","instance":1,"path":"async",)"
                                         R"("request":\{"command":"x"\}\})"));
    EXPECT_EQ(answered(1, R"({"status":0})", "x"), "x");
    EXPECT_EQ(line(1), (json{{"instance", 1},
                             {"path", "async"},
                             {"answer", {{"status", 0}}},
                             {"command", "x"},
                             {"milliseconds", "some"}}));
}

TEST_F(TheJournal, WritesABlockingCall) {
    const auto outer = m_journal.called(2, "1", "");
    const auto inner = m_journal.called(2, "2", "y");
    m_journal.replied(outer, "11");
    m_journal.replied(inner, "22");
    EXPECT_EQ(line(0), (json{{"instance", 2}, {"path", "blocking"}, {"request", 1}}));
    EXPECT_EQ(
        line(2),
        (json{{"instance", 2}, {"path", "blocking"}, {"answer", 11}, {"milliseconds", "some"}}));
    EXPECT_EQ(line(3)["command"], "y");
}

TEST_F(TheJournal, MatchesAnswersByInstanceCommandAndOrder) {
    m_journal.posted(1, "1", "a");
    m_journal.posted(1, "2", "b");
    m_journal.posted(2, "3", "a");
    m_journal.posted(1, "4", "a");
    EXPECT_EQ(answered(1, "0", "b"), "b");
    EXPECT_EQ(answered(1, "0", "a"), "a");
    EXPECT_THAT(unanswered(), ElementsAre("2 a", "1 a"));
    m_journal.forget(2);
    EXPECT_THAT(unanswered(), ElementsAre("1 a"));
}

TEST_F(TheJournal, MatchesAnAnswerWithoutACommandToWhatCannotBeAnsweredByOne) {
    m_journal.posted(1, "1", "sso_plugin_show_login_page");
    m_journal.posted(1, "2", "sso_plugin_getVersion");  // blocking: no command of this path
    m_journal.posted(1, "3", "");
    EXPECT_EQ(answered(1, "0", ""), "sso_plugin_getVersion");
    EXPECT_EQ(answered(1, "0", ""), "");
    EXPECT_THAT(unanswered(), ElementsAre("1 sso_plugin_show_login_page"));
    EXPECT_EQ(answered(1, "0", ""), "sso_plugin_show_login_page");
    EXPECT_THAT(unanswered(), IsEmpty());
}

TEST_F(TheJournal, WritesAnAnswerToNothing) {
    EXPECT_EQ(answered(1, "0", "a"), "nothing");
    EXPECT_EQ(line(0), (json{{"instance", 1}, {"path", "async"}, {"answer", 0}}));
}

TEST_F(TheJournal, IsWrittenByAllThreadsALineAtATime) {
    const auto ask = [this] {
        m_journal.posted(1, "1", "x");
        EXPECT_EQ(answered(1, "2", "x"), "x");
    };
    const auto all = [this] {
        const auto call = m_journal.called(2, "2", "y");
        m_journal.replied(call, "3");
        m_journal.posted(2, "4", "z");
        m_journal.forget(2);
    };
    const std::vector<std::function<void()>> others = {
        ask,
        [this] { EXPECT_EQ(answered(3, "5", "x"), "nothing"); },
        [this] { m_journal.replied(0, "6"); },
        [this] { m_journal.forget(3); },
        [this] { EXPECT_THAT(unanswered().size(), ::testing::Le(1U)); },
    };
    for (const auto& other : others) support::atTheSameTime(other, 200, all);
    EXPECT_THAT(unanswered(), IsEmpty());
    for (const std::string& text : m_lines) EXPECT_TRUE(json::accept(text)) << text;
}

TEST(ARefusal, NamesTheMissingPrivilege) {
    EXPECT_EQ(explainRefusal("sso_plugin_getSSOState"),
              "sso_plugin_getSSOState was refused: the application lacks the privilege "
              "sso.platform; its manifest grants it by \"privileges\": [\"sso.platform\"], the "
              "command line by --grant sso.platform");
}

TEST(ARefusal, OfANameThatIsNoneSaysSo) {
    EXPECT_EQ(
        explainRefusal("sso_plugin_getversion"),
        "\"sso_plugin_getversion\" was refused: the plug-in has no such command; did you mean "
        "\"sso_plugin_getVersion\"?");
    EXPECT_THAT(explainRefusal("sso_plugin_getVersion123456"),
                ::testing::EndsWith("did you mean \"sso_plugin_getVersion\"?"));
    EXPECT_THAT(explainRefusal("sso_plugin_getVersion1234567"),
                ::testing::EndsWith("no such command"));
    EXPECT_EQ(explainRefusal("tea\n\x1b"),
              "\"tea\\n\\u001b\" was refused: the plug-in has no such command");
}

}  // namespace
