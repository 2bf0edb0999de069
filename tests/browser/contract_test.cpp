// What a page gets for each request, from the real browser: the tables of the native host again.

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "browser_test.h"
#include "rows.h"
#include "visits.h"

namespace {

/// Sends each request of `rows`, which are [path, request], and returns the answers in order. An
/// asynchronous one is awaited before the next, so that answers cannot be mixed up.
constexpr char kSendRows[] = R"js(
    const plugin = new Embedding();
    const answers = [];
    for (const [path, request] of rows) {
        answers.push(path === "async" ? await plugin.ask(request) : plugin.call(request));
    }
    return { answers, left: plugin.messages };
)js";

class TheContractInTheBrowser : public browser::BrowserTest {
  protected:
    static const char* pathName(contract::Path path) {
        return path == contract::Path::Async ? "async" : "blocking";
    }

    static Arguments grantsOf(const std::string& privileges) {
        Arguments arguments;
        std::istringstream list(privileges);
        for (std::string name; list >> name;) {
            arguments.insert(arguments.end(), {"--grant", name});
        }
        return arguments;
    }

    /// @param rows  a JavaScript array of [path, request].
    Json answersTo(const std::string& rows, const std::string& privileges, size_t count) {
        const Json result =
            runScript("const rows = " + rows + ";" + kSendRows, grantsOf(privileges));
        EXPECT_EQ(result["left"], Json::array()) << "every request has one answer";
        EXPECT_EQ(result["answers"].size(), count);
        return result["answers"];
    }

    template <std::size_t count>
    void expectVisit(const char* account, const contract::Exchange (&visit)[count]) {
        Json requests = Json::array();
        for (const contract::Exchange& exchange : visit) {
            requests.push_back({pathName(exchange.path), Json::parse(exchange.request)});
        }
        Arguments arguments = grantsOf(contract::kAllPrivileges);
        arguments.insert(arguments.end(),
                         {"--account", std::string(SSO_SOURCE_DIR "/account/examples/") + account});
        const Json result =
            runScript("const rows = " + requests.dump() + ";" + kSendRows, arguments);
        EXPECT_EQ(result["left"], Json::array()) << "every request has one answer";
        const Json answers = result["answers"];
        ASSERT_EQ(answers.size(), count);
        for (size_t i = 0; i < count; ++i) {
            EXPECT_EQ(answers[i], Json::parse(visit[i].answer)) << visit[i].request;
        }
    }

    void expectRows(const std::vector<contract::Row>& rows) {
        std::map<std::string, std::vector<contract::Row>> byPrivileges;
        for (const contract::Row& row : rows) {
            byPrivileges[row.privileges].push_back(row);
        }
        for (const auto& [privileges, group] : byPrivileges) {
            SCOPED_TRACE(privileges);
            Json requests = Json::array();
            for (const contract::Row& row : group) {
                requests.push_back({pathName(row.path), Json::parse(row.request)});
            }
            const Json answers = answersTo(requests.dump(), privileges, group.size());
            ASSERT_EQ(answers.size(), group.size());
            for (size_t i = 0; i < group.size(); ++i) {
                EXPECT_EQ(answers[i], Json::parse(group[i].answer))
                    << group[i].title << ": " << group[i].request;
            }
        }
    }
};

TEST_F(TheContractInTheBrowser, AnswersEveryErrorAsTheTableSays) {
    expectRows({std::begin(contract::kErrorRows), std::end(contract::kErrorRows)});
}

TEST_F(TheContractInTheBrowser, AnswersEveryImmediateCommandAsTheTableSays) {
    expectRows({std::begin(contract::kCommandRows), std::end(contract::kCommandRows)});
}

TEST_F(TheContractInTheBrowser, AnswersWhatJsonHasNoWordsForAsTheTableSays) {
    std::string rows;
    for (const contract::SpecialRow& row : contract::kSpecialRows) {
        rows += "[\"" + std::string(pathName(row.path)) + "\", " + row.javaScript + "], ";
    }
    const Json answers =
        answersTo("[" + rows + "]", contract::kAllPrivileges, std::size(contract::kSpecialRows));
    ASSERT_EQ(answers.size(), std::size(contract::kSpecialRows));
    for (size_t i = 0; i < answers.size(); ++i) {
        EXPECT_EQ(answers[i], Json::parse(contract::kSpecialRows[i].answer))
            << contract::kSpecialRows[i].title;
    }
}

TEST_F(TheContractInTheBrowser, AnswersALoginPageThatEndsByItself) {
    const std::string rows = "[[\"async\", " + std::string(contract::kLoginRequest) + "]]";
    EXPECT_EQ(answersTo(rows, "sso.partner", 1).at(0), Json::parse(contract::kLoginAnswer));
}

TEST_F(TheContractInTheBrowser, ServesAPageOnADeviceThatIsSignedIn) {
    expectVisit(contract::kSignedInAccount, contract::kSignedInVisit);
}

TEST_F(TheContractInTheBrowser, ServesAPageOnADeviceThatIsSignedOut) {
    expectVisit(contract::kSignedOutAccount, contract::kSignedOutVisit);
}

TEST_F(TheContractInTheBrowser, ServesAPageWhenEverythingFails) {
    expectVisit(contract::kFailingAccount, contract::kFailingVisit);
}

/// One of the eight sets of privileges, by bits: partner, platform, public.
class ASetOfPrivilegesInTheBrowser : public TheContractInTheBrowser,
                                     public ::testing::WithParamInterface<unsigned> {
  protected:
    std::set<std::string> held() const {
        const char* const names[] = {"sso.partner", "sso.platform", "sso.public"};
        std::set<std::string> held;
        for (unsigned bit = 0; bit < 3; ++bit) {
            if ((GetParam() >> bit & 1U) != 0) {
                held.insert(names[bit]);
            }
        }
        return held;
    }

    /// The whole answer to {"command": name} on a path.
    Json expected(const std::string& name, contract::Path path) const {
        const bool async = path == contract::Path::Async;
        const auto command =
            std::find_if(std::begin(contract::kCommands), std::end(contract::kCommands),
                         [&](const contract::Command& known) { return name == known.name; });
        if (command == std::end(contract::kCommands) || held().count(command->privilege) == 0) {
            if (!async) {
                return Json::parse(contract::kRefusedAsked);
            }
            Json refused = {{"status", 18},
                            {"errorName", "PrivilegeInvalid"},
                            {"errorMessage", "You do not have the privilege"}};
            if (!name.empty()) {
                refused["command"] = name;
            }
            return refused;
        }
        if (path != command->path) {
            return Json::parse(async ? contract::kUnknownPosted : contract::kUnknownAsked);
        }
        return bareAnswer(name);
    }

    /// The whole answer to a command without its keys, where nobody is signed in.
    static Json bareAnswer(const std::string& name) {
        const auto reply = [](const Json& value) -> Json {
            return {{"code", 0}, {"errorName", ""}, {"errorMessage", ""}, {"value", value}};
        };
        if (name == "sso_plugin_getVersion") return reply("1.1");
        if (name == "sso_plugin_getLoginStatus") return reply(0);
        if (name == "sso_plugin_getTermsAgreementState") return Json::parse(contract::kTermsId);
        if (name == "sso_plugin_getSSOState" || name == "sso_plugin_getGuid" ||
            name == "sso_plugin_getLoginUid") {
            return reply("");
        }
        if (name == "sso_plugin_createAccount") {
            return {{"command", name}, {"status", 0}, {"state", 0}};
        }
        const bool terms = name == "sso_plugin_showTermsPage";
        return {{"command", name},
                {"status", -1},
                {"errorName", "paramInvaild"},
                {"errorMessage", terms ? "termsId parameter is invalid" : "Parameter is invalid"}};
    }

    static std::vector<std::string> names() {
        std::vector<std::string> names = {"", " ", "sso_plugin_noSuchCommand", "constructor"};
        for (const contract::Command& command : contract::kCommands) {
            const std::string name = command.name;
            std::string upper = name;
            std::transform(name.begin(), name.end(), upper.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
            std::string lower = name;
            std::transform(name.begin(), name.end(), lower.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            for (const std::string& variant : {name, upper, lower, name + " ", " " + name}) {
                if (std::find(names.begin(), names.end(), variant) == names.end()) {
                    names.push_back(variant);
                }
            }
        }
        return names;
    }
};

TEST_P(ASetOfPrivilegesInTheBrowser, DecidesForEveryNameOnBothPaths) {
    Json requests = Json::array();
    Json answers = Json::array();
    for (const std::string& name : names()) {
        for (const contract::Path path : {contract::Path::Async, contract::Path::Blocking}) {
            requests.push_back({pathName(path), {{"command", name}}});
            answers.push_back(expected(name, path));
        }
    }
    std::string privileges;
    for (const std::string& name : held()) {
        privileges += name + " ";
    }
    const Json actual = answersTo(requests.dump(), privileges, answers.size());
    ASSERT_EQ(actual.size(), answers.size());
    for (size_t i = 0; i < answers.size(); ++i) {
        EXPECT_EQ(actual[i], answers[i]) << requests[i];
    }
}

INSTANTIATE_TEST_SUITE_P(OfEight, ASetOfPrivilegesInTheBrowser, ::testing::Range(0U, 8U));

}  // namespace
