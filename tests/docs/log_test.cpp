// The list of log lines: each that the module holds is listed, and each of a run stands in its row.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "document.h"
#include "host/value_json.h"
#include "module_path.h"
#include "process.h"
#include "temporary_folder.h"

namespace {

using Texts = std::set<std::string>;

/// A row of the list.
struct Line {
    std::string file;
    std::string function;
    std::string number;
    std::string kind;
    std::string text;

    std::string name() const { return file + ": " + function + '(' + number + ')'; }
};

struct Kind {
    std::string colour;
    std::string place;  ///< how the stand-in names priority and buffer
};

const std::map<std::string, Kind> kKinds = {
    {"flow", {"32", "W [main]"}}, {"detail", {"33", "I [main]"}}, {"error", {"31", "W [system]"}}};

class TheLogsList : public ::testing::Test {
  protected:
    TheLogsList() {
        for (const docs::Table& table : m_document.tables) {
            const std::string first = docs::cellsOf(table.head).front();
            const std::string file = docs::codeOf(first);
            for (const std::string& row : table.rows) {
                const std::vector<std::string> cells = docs::cellsOf(row);
                const std::string function = docs::codeOf(cells[0]);
                if (first.rfind("In ", 0) == 0) {
                    m_lines.push_back({file, function, cells[1], cells[2], docs::codeOf(cells[3])});
                } else if (first.rfind("Scope in ", 0) == 0) {
                    const std::string running = "NDL-HT running : " + function;
                    m_lines.push_back({file, function, cells[1], "flow", running});
                    m_lines.push_back({file, function, cells[2], "flow", "NDL-HT done"});
                }
            }
        }
    }

    /// The tag of a file.
    std::string tagOf(const std::string& file) const {
        for (const std::string& row : docs::tableOf(m_document, "| File | Tag |").rows) {
            const std::vector<std::string> cells = docs::cellsOf(row);
            if (cells[0].find('`' + file + '`') != std::string::npos) return docs::codeOf(cells[1]);
        }
        return "no tag listed";
    }

    const docs::Document m_document = docs::readDocument(SSO_SOURCE_DIR "/docs/log.md");
    std::vector<Line> m_lines;
};

TEST_F(TheLogsList, HasTheModulesFormatsAndNoOthers) {
    std::ifstream file(support::modulePath(), std::ios::binary);
    const std::string module{std::istreambuf_iterator<char>(file), {}};
    const std::string begin = "%s: %s(%d) > \033[0;";
    Texts formats;
    for (std::size_t at = module.find(begin); at != std::string::npos;
         at = module.find(begin, at + 1)) {
        formats.insert(module.c_str() + at + begin.size());
    }
    Texts listed;
    for (const Line& line : m_lines) {
        listed.insert(kKinds.at(line.kind).colour + 'm' + line.text + "\033[0;m");
    }
    EXPECT_FALSE(formats.empty());
    for (const std::string& format : formats) {
        EXPECT_EQ(listed.count(format), 1U) << "docs/log.md lacks " << format;
    }
    for (const std::string& format : listed) {
        EXPECT_EQ(formats.count(format), 1U) << "docs/log.md still has " << format;
    }
}

/// As the stand-in writes it, without the time: what can be compared.
std::regex patternOf(const Line& line, const std::string& tag) {
    static const std::regex special(R"([.^$|()\[\]{}*+?\\])");
    std::string text = std::regex_replace(line.text, special, R"(\$&)");
    text = std::regex_replace(text, std::regex("%d"), "-?[0-9]+");
    text = std::regex_replace(text, std::regex("%p"), "0x[0-9a-f]+");
    text = std::regex_replace(text, std::regex("%s"), ".*");
    const Kind& kind = kKinds.at(line.kind);
    return std::regex(kind.place.substr(0, 1) + '/' + tag + R"(\( *\d+: *\d+\) )" +
                      std::regex_replace(kind.place.substr(2), special, R"(\$&)") + ' ' +
                      std::regex_replace(line.name(), special, R"(\$&)") + " > " + text);
}

/// What `input` makes the module write, line by line without the time, and what the page gets.
support::ProcessResult run(const std::string& account, const std::string& input,
                           std::vector<std::string>* log,
                           const std::vector<std::string>& environment = {}) {
    support::ProcessOptions options;
    options.input = input;
    options.environment = environment;
    const support::ProcessResult result =
        support::runProcess({support::builtPath("bin/sso-host"), "--module", support::modulePath(),
                             "--account", SSO_SOURCE_DIR "/account/examples/" + account + ".json",
                             "--grant", "partner", "--grant", "platform", "--log"},
                            options);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const std::size_t time = std::string("11-21 19:30:16.110 ").size();
    for (const std::string& line : result.errorLines()) {
        if (line.rfind("sso-host: ", 0) == 0) continue;  // explains a refusal
        log->push_back(line.substr(std::min(time, line.size())));
    }
    return result;
}

std::string sent(const host::Value& request, contract::Path path) {
    if (path == contract::Path::Blocking) return "{\"call\":" + host::writeJson(request) + "}\n";
    return "{\"post\":" + host::writeJson(request) + "}\n";
}

class TheLog : public TheLogsList {
  protected:
    /// The requests of the protocol's reference, and what goes wrong besides.
    std::string requests() const {
        std::string input;
        for (const docs::Example& example : m_reference.examples) {
            input += sent(example.request, example.path);
        }
        for (const char* other : {"5", "{}", R"({"command":"none"})"}) {
            input += sent(host::parseJson(other), contract::Path::Async);
            input += sent(host::parseJson(other), contract::Path::Blocking);
        }
        return input;
    }

    /// Of a visit with all of them, and of one that loses its handler.
    std::vector<std::string> logOf(const std::string& account) const {
        std::vector<std::string> log;
        run(account, requests(), &log);
        run(account, "{\"unregister\":1}\n", &log);
        return log;
    }

    /// What the requests and their answers hold, but for the protocol's own words.
    Texts values() const {
        Texts values;
        for (const docs::Example& example : m_reference.examples) {
            for (const host::Value* message : {&example.request, &example.answer}) {
                if (!message->isDictionary()) continue;
                for (const char* key : {"id", "secret", "termsId", "callerId", "appID", "cpName",
                                        "cpUID", "token", "PartnerAccountInfo", "value"}) {
                    if (!message->has(key) || !(*message)[key].isString()) continue;
                    const std::string text = (*message)[key].asString();
                    if (text.size() > 3) values.insert(text);  // "1.1" and the like stand anywhere
                }
            }
        }
        EXPECT_GT(values.size(), 5U);
        return values;
    }

    const docs::Document m_reference = docs::readDocument(SSO_SOURCE_DIR "/docs/protocol.md");
};

TEST_F(TheLog, OfARunStandsInTheList) {
    std::map<std::string, std::vector<std::regex>> rows;
    Texts unseen;
    for (const Line& line : m_lines) {
        rows[line.name()].push_back(patternOf(line, tagOf(line.file)));
        unseen.insert(line.name());
    }
    for (const char* account : {"signed-in", "everything-fails"}) {
        for (const std::string& line : logOf(account)) {
            const std::size_t begin = line.find("] ") + 2;
            const std::string name = line.substr(begin, line.find(" > ") - begin);
            bool isListed = false;
            for (const std::regex& pattern : rows[name]) {
                isListed = isListed || std::regex_match(line, pattern);
            }
            EXPECT_TRUE(isListed) << "docs/log.md lacks " << line;
            unseen.erase(name);
        }
    }
    // What a browser and a client library that keep their promises do not bring about.
    const std::string handler = "PluginSSOMessageHandle: ";
    EXPECT_EQ(unseen, (Texts{"PluginSSO: CPluginSSO(22)", handler + "m_ResponseData(90)",
                             handler + "m_ResponseData(97)", handler + "Register(376)",
                             handler + "Register(378)", handler + "Register(379)",
                             handler + "m_ShowSSOLoginCallBack(414)",
                             handler + "m_ShowTermsPageCallBack(438)",
                             handler + "m_ShowCreateAccountCallBack(462)",
                             handler + "m_RequestAccessTokenCallBack(493)",
                             handler + "m_GetPartnerAccountMappingListCallBack(524)",
                             handler + "m_AddPartnerAccountMappingInfoCallBack(548)",
                             handler + "m_RemovePartnerAccountMappingInfoCallBack(572)"}));
}

TEST_F(TheLog, HoldsNoValueOfARequestOrAnAnswer) {
    const Texts all = values();
    for (const std::string& line : logOf("signed-in")) {
        for (const std::string& value : all) {
            EXPECT_EQ(line.find(value), std::string::npos) << value << " in " << line;
        }
    }
}

TEST_F(TheLog, HasATraceBesideItWithoutAnyValueEither) {
    const support::TemporaryFolder folder;
    const std::string path = folder.path("trace.json");
    std::vector<std::string> log;
    run("signed-in", requests(), &log, {"HT_TRACE=" + path, "HT_TRACE_TYPES=1"});
    std::ifstream file(path);
    const std::string trace{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(trace.find("m_ShowTermsPageCallBack done"), std::string::npos)
        << "nothing was traced";
    for (const std::string& value : values()) {
        EXPECT_EQ(trace.find(value), std::string::npos) << value;
    }
}

TEST_F(TheLog, NamesARefusedCommandAsItCame) {
    // A line break, an escape sequence, and a format character that turns the direction.
    const std::string name = "a\nW/QPP_BASE b\033[31m\u202ec";
    // So the log service shows it, which is told the name as it is.
    const std::string shown = R"(a\nW/QPP_BASE b\u001b[31m\u202ec)";
    const host::Value request{host::Value::Dictionary{{"command", host::Value(name)}}};
    std::vector<std::string> log;
    const support::ProcessResult posted =
        run("signed-in", sent(request, contract::Path::Async), &log);
    EXPECT_NE(posted.errors.find("command [" + shown + "]"), std::string::npos) << posted.errors;
    const support::ProcessResult called =
        run("signed-in", sent(request, contract::Path::Blocking), &log);
    EXPECT_EQ(called.errors.find(name), std::string::npos) << called.errors;
}

}  // namespace
