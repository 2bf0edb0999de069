// Any sequence of messages on both paths, of ends of operations, embeds, removals and withdrawn handlers through the
// native host, against what protocol/protocol.json says of it: each request gets exactly the answers that it must get,
// the client library is not asked without the privilege, nothing comes of an element that is gone, and no reference
// stays.
//
// An input is text, a step in a line:
//   ep       embeds an element in an application with the privilege sso.partner; l: sso.platform, u: sso.public
//   d1       removes element 1 of those that live, r1 the same while another thread ends the oldest operation
//   u1       takes its message handler away
//   i1       what follows is for element 1
//   pA  cA   posts or calls: the command that is first in the protocol, with its example keys
//   pA-0     without the first key; pA!0 with a number there; pA=0text with another text
//   p{...}   any message, as sso-host's lines have it
//   bA       posts, and goes on before it was answered
//   f0 2 x   ends operation 0 of the outstanding ones with the number 2 and the text x; without one with null
//   h0  h1   operations end by themselves, or wait to be ended, as they do at first
//   s-1      what the client library's start calls return
//   a1       another account
//   gx  n3   what the library answers of the GUID and the login state
#include <utf8.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "dlog_control.h"
#include "embedder/application_manifest.h"
#include "embedder/vendor_table.h"
#include "host/browser_interfaces.h"
#include "host/plugin_host.h"
#include "host/value_json.h"
#include "ppapi/c/ppp.h"
#include "sso_api_control.h"
#include "support/protocol.h"
#include "support/require.h"

namespace {

using fuzz::Protocol;
using fuzz::require;
using host::CallResult;
using host::Value;

constexpr std::chrono::seconds kLong(15);
constexpr std::size_t kMostElements = 4;
constexpr std::size_t kMostSteps = 24;
constexpr std::size_t kMostOutstanding = 32;

constexpr const char* kAccounts[] = {
    "{}",
    R"({"account":{"loginId":"robin","uid":"u","guid":"g","authToken":"t"},
        "clients":[{"id":"demo-client","secret":"demo-secret","token":"token"}],
        "mappings":[{"appID":"demo-app","cpName":"demo-partner","cpUID":"user-1"}],
        "terms":{"terms-1":"agreed"},
        "popups":{"login":{"delayMs":0},"createAccount":{"delayMs":0},"terms":{"delayMs":0}}})",
    R"({"account":{"loginId":"ä","uid":"","guid":"","authToken":""},"signedIn":false,
        "popups":{"login":{"state":"closed","delayMs":0},"createAccount":{"state":"failed","delayMs":0},
                  "terms":{"state":"closed","delayMs":0}}})",
};

/// Calls of the client library, as its observer counts them.
std::atomic<std::size_t> g_calls{0};

struct Element {
    PP_Instance id;
    std::set<std::string> privileges;
    bool isRegistered = true;
};

struct Operation {
    PP_Instance element;
    const Protocol::Command* command;
};

/// What a page is to be told.
struct Expected {
    PP_Instance element;
    Value answer;
    /// The answer's outcome may be any of its type: an operation that the account has ended.
    const Protocol::Command* command = nullptr;
};

Value textOutcome(const char* text) {
    const std::string outcome = text == nullptr ? "" : text;
    if (!utf8::is_valid(outcome)) return Value::Null{};  // as a browser has no such text
    return outcome;
}

class Run {
  public:
    Run() : m_host(options()) {
        embedder::setBrowser(host::browserInterface);
        sso_api_control_set_observer([](const SsoApiCall*, void*) { ++g_calls; }, nullptr);
        sso_api_control_set_held(1);
        sso_api_control_set_start_result(SSO_OK);
        sso_api_control_set_account(kAccounts[1]);
        sso_api_control_set_answer("sso_get_guid", nullptr);
        sso_api_control_set_answer("sso_get_login_state", nullptr);
        embed("p");
    }

    void step(const std::string& line) {
        const char what = line[0];
        const std::string rest = line.substr(1);
        // Posts that nobody waited for are answered before anything else happens.
        if (what != 'b') settle();
        switch (what) {
            case 'e':
                return embed(rest);
            case 'd':
                return destroy(rest, false);
            case 'r':
                return destroy(rest, true);
            case 'u':
                return unregister(rest);
            case 'i':
                m_current = which(rest);
                return;
            case 'p':
            case 'b':
                return post(messageOf(rest), what == 'p');
            case 'c':
                return call(messageOf(rest));
            case 'f':
                return finish(rest);
            case 'h':
                m_isHeld = rest != "0";
                sso_api_control_set_held(m_isHeld ? 1 : 0);
                return;
            case 's':
                m_startResult = static_cast<int>(std::strtol(rest.c_str(), nullptr, 10));
                sso_api_control_set_start_result(m_startResult);
                return;
            case 'a':
                sso_api_control_set_account(
                    kAccounts[static_cast<unsigned char>(rest.empty() ? 0 : rest[0]) % 3]);
                return;
            case 'g':
                return answerGuid(rest);
            case 'n':
                return answerState(static_cast<int>(std::strtol(rest.c_str(), nullptr, 10)));
            default:
                return;
        }
    }

    void end() {
        settle();
        for (const Element& element : m_elements) m_busy.insert(element.id);
        settle();
        while (!m_elements.empty()) destroy("0", false);
        require(sso_api_control_outstanding() == 0, "no operation outlives the elements");
        const std::size_t calls = g_calls;
        m_host.unload();
        require(g_calls == calls, "the client library is not called after the teardown");
        for (const std::string& problem : m_host.problems()) {
            require(false, "the module does nothing wrong with vars", problem);
        }
        for (const std::string& problem : m_host.resourceProblems()) {
            require(false, "the module does nothing wrong with resources", problem);
        }
        require(m_host.liveResources().empty(), "the module holds no resource");
        require(m_host.takeMessages().empty(), "nothing comes after the teardown");
    }

  private:
    static host::HostOptions options() {
        host::HostOptions options;
        options.entryPoints = {PPP_InitializeModule, PPP_GetInterface, PPP_ShutdownModule};
        options.interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] = embedder::vendorTable();
        return options;
    }

    // --- the input ---

    std::size_t which(const std::string& text) const {
        const std::size_t number = std::strtoul(text.c_str(), nullptr, 10);
        return m_elements.empty() ? 0 : number % m_elements.size();
    }

    static Value messageOf(const std::string& text) {
        const std::vector<Protocol::Command>& commands = Protocol::instance().commands();
        const char first = text.empty() ? '\0' : text.front();
        if (first < 'A' || first > 'Z') {
            try {
                return host::parseJson(text);
            } catch (const host::JsonError&) {
                return text;
            }
        }
        const auto& command = commands[static_cast<std::size_t>(first - 'A') % commands.size()];
        Value::Dictionary message = Protocol::instance().example(command).asDictionary();
        if (text.size() > 2 && !command.keys.empty()) {
            const auto digit = static_cast<unsigned char>(text[2]);
            const std::string& key = command.keys[digit % command.keys.size()].name;
            if (text[1] == '-') message.erase(key);
            if (text[1] == '!') message[key] = static_cast<std::int32_t>(digit);
            if (text[1] == '=') message[key] = text.substr(3);
        }
        return message;
    }

    /// What the plug-in gets of a message: text that is no UTF-8 is null there.
    static Value asSent(const Value& value) {
        if (value.isString() && !utf8::is_valid(value.asString())) return Value::Null{};
        if (!value.isDictionary()) return value;
        Value::Dictionary members = value.asDictionary();
        for (auto& member : members) member.second = asSent(member.second);
        return members;
    }

    // --- the steps ---

    void embed(const std::string& letters) {
        if (m_elements.size() == kMostElements) return;
        Element element{0, {}, true};
        embedder::Application application;
        for (const auto& [letter, name] :
             {std::pair{'p', "sso.partner"}, {'l', "sso.platform"}, {'u', "sso.public"}}) {
            if (letters.find(letter) == std::string::npos) continue;
            element.privileges.insert(name);
            application.grants.insert(embedder::privilegeIdentifier(name));
        }
        element.id =
            m_host.embed({}, [&](PP_Instance id) { embedder::setApplication(id, application); });
        m_current = m_elements.size();
        m_elements.push_back(element);
        m_callsBefore = g_calls;
    }

    void destroy(const std::string& text, bool isRaced) {
        if (m_elements.empty()) return;
        const std::size_t index = which(text);
        const PP_Instance gone = m_elements[index].id;
        std::thread race;
        if (isRaced) {
            race = std::thread([] {
                const SsoApiEnd end{SSO_ERROR_CANCELLED, SSO_POPUP_CANCELLED, nullptr};
                sso_api_control_finish(0, &end, nullptr);
            });
        }
        require(m_host.destroy(gone), "an element can be removed");
        if (race.joinable()) race.join();
        embedder::forgetInstance(gone);
        m_elements.erase(m_elements.begin() + static_cast<std::ptrdiff_t>(index));
        m_current = 0;
        // An end takes all operations of the process with it, whoever's they are.
        for (const Operation& operation : m_outstanding) {
            if (operation.element == gone) continue;
            const bool isResult = operation.command->answerKey == "result";
            expect(operation.element,
                   Protocol::instance().done(*operation.command,
                                             operation.command->isText ? Value("")
                                             : isResult                ? Value(SSO_ERROR_CANCELLED)
                                                        : Value(SSO_POPUP_CANCELLED)));
        }
        const bool mayComeStill =
            isRaced && !m_outstanding.empty() && m_outstanding.front().element == gone;
        m_outstanding.clear();
        m_isOrdered = !isRaced;
        m_callsBefore = g_calls;
        settle(mayComeStill ? gone : 0);
        require(sso_api_control_outstanding() == 0, "an element's end takes all operations along");
    }

    void unregister(const std::string& text) {
        if (m_elements.empty()) return;
        Element& element = m_elements[which(text)];
        m_host.unregister(element.id);
        m_busy.insert(element.id);
        if (!element.isRegistered) return;
        element.isRegistered = false;
        expect(element.id, Protocol::instance().unregistered());
        settle();
    }

    void post(const Value& message, bool isWaitedFor) {
        if (m_elements.empty() || m_outstanding.size() >= kMostOutstanding) return;
        const Element& element = m_elements[m_current];
        const Value sent = asSent(message);
        m_host.post(element.id, message);
        m_busy.insert(element.id);
        if (element.isRegistered) {
            const Protocol::Command* command = Protocol::instance().commandOf(sent);
            const auto refusal = Protocol::instance().refusal(false, sent, element.privileges);
            if (!refusal) ++m_expectedCalls;
            if (refusal) {
                expect(element.id, *refusal);
            } else if (m_startResult == SSO_ERROR_NOT_STARTED) {
                expect(element.id, Protocol::instance().notStarted(*command));
            } else if (m_isHeld) {
                m_outstanding.push_back({element.id, command});
            } else {
                m_isOrdered = false;
                m_expected.push_back({element.id, {}, command});
            }
        }
        if (isWaitedFor) settle();
    }

    void call(const Value& message) {
        if (m_elements.empty()) return;
        const Element& element = m_elements[m_current];
        const std::size_t calls = g_calls;
        const Value sent = asSent(message);
        const CallResult result = m_host.call(element.id, message, kLong);
        if (!element.isRegistered) {
            require(result.status == CallResult::Status::NotHandled,
                    "a call without a handler is not handled");
            require(g_calls == calls, "nothing is asked without a handler");
            return;
        }
        require(result.replied(), "a call is answered");
        const Protocol::Command* command = Protocol::instance().commandOf(sent);
        if (const auto refusal = Protocol::instance().refusal(true, sent, element.privileges)) {
            require(result.value == *refusal, "a call is refused as the protocol says",
                    host::writeJson(result.value) + " for " + host::writeJson(sent));
            require(g_calls == calls, "the library is not asked for a call that is refused");
            return;
        }
        m_callsBefore = g_calls;
        Value outcome = result.value[command->answerKey];
        const std::string& name = command->name;
        if (m_hasGuid && name == "sso_plugin_getGuid") outcome = textOutcome(m_guid.c_str());
        if (m_hasState && name == "sso_plugin_getLoginStatus") outcome = m_state;
        if (m_hasGuid && name == "sso_plugin_getSSOState" && outcome.isUndefined()) {
            outcome = Value::Null{};  // its last field was no text
        }
        require(outcome.isNull() || (command->isText ? outcome.isString() : outcome.isInt32()),
                "a call's outcome is of the protocol's type", host::writeJson(result.value));
        require(result.value == Protocol::instance().done(*command, outcome),
                "a call is answered as the protocol says", host::writeJson(result.value));
    }

    void finish(const std::string& text) {
        if (m_outstanding.empty()) return;
        std::istringstream words(text);
        std::size_t index = 0;
        std::int32_t number = 0;
        words >> index >> number;
        index %= m_outstanding.size();
        std::string outcome;
        const bool hasText = words.get() == ' ' && std::getline(words, outcome);
        outcome = outcome.c_str();  // a text of C
        const Operation operation = m_outstanding[index];
        m_outstanding.erase(m_outstanding.begin() + static_cast<std::ptrdiff_t>(index));
        const SsoApiEnd end{number, number, hasText ? outcome.c_str() : nullptr};
        int returned = -1;
        require(sso_api_control_finish(static_cast<int>(index), &end, &returned) == SSO_OK,
                "an operation that was started can end");
        require(returned == 0, "a callback returns success");
        expect(operation.element,
               Protocol::instance().done(*operation.command, operation.command->isText
                                                                 ? textOutcome(end.text)
                                                                 : Value(number)));
        settle();
    }

    void answerGuid(const std::string& text) {
        m_hasGuid = true;
        m_guid = text.c_str();
        const SsoApiAnswer answer{SSO_OK, nullptr, nullptr, m_guid.c_str()};
        sso_api_control_set_answer("sso_get_guid", &answer);
    }

    void answerState(int state) {
        m_hasState = true;
        m_state = state;
        const SsoApiAnswer answer{SSO_OK, &m_state, nullptr, nullptr};
        sso_api_control_set_answer("sso_get_login_state", &answer);
    }

    // --- what comes ---

    void expect(PP_Instance element, Value answer) {
        m_expected.push_back({element, std::move(answer), nullptr});
    }

    /// An answer whose outcome may be any, as one that has none but its type.
    static std::string shown(const Value& answer, const Protocol::Command* command) {
        if (command == nullptr) return host::writeJson(answer);
        const Value& outcome = answer[command->answerKey];
        if (command->isText ? !outcome.isString() : !outcome.isInt32())
            return host::writeJson(answer);
        return host::writeJson(Protocol::instance().done(*command, "any"));
    }

    /// Waits for what must come, and that nothing more does.
    ///
    /// @param maybe  an element that was removed while its operation ended: it may have been told.
    void settle(PP_Instance maybe = 0) {
        if (m_expected.empty() && m_busy.empty() && maybe == 0) return;
        // What comes too much of the others is seen later.
        for (const PP_Instance element : m_busy) {
            require(m_host.drain(element, kLong), "the plug-in's threads have an end");
        }
        m_busy.clear();
        if (!m_host.waitForMessages(m_expected.size(), kLong)) {
            require(false, "every request is answered", host::writeJson(m_expected.back().answer));
        }
        std::map<PP_Instance, std::vector<std::string>> came;
        std::map<PP_Instance, std::vector<std::string>> expected;
        for (const host::Message& message : m_host.takeMessages()) {
            if (message.instance == maybe && maybe != 0) continue;
            const Protocol::Command* any = nullptr;
            for (const Expected& one : m_expected) {
                if (one.command != nullptr && one.element == message.instance &&
                    message.value["command"] == Value(one.command->name)) {
                    any = one.command;
                }
            }
            came[message.instance].push_back(shown(message.value, any));
        }
        for (const Expected& one : m_expected) {
            expected[one.element].push_back(
                one.command == nullptr
                    ? host::writeJson(one.answer)
                    : host::writeJson(Protocol::instance().done(*one.command, "any")));
        }
        if (!m_isOrdered) {
            for (auto& answers : came) std::sort(answers.second.begin(), answers.second.end());
            for (auto& answers : expected) std::sort(answers.second.begin(), answers.second.end());
        }
        require(came == expected, "each request gets the answers that it must get",
                listed(came) + " instead of " + listed(expected));
        require(g_calls == m_callsBefore + m_expectedCalls,
                "the library is asked once for each request that may be carried out",
                std::to_string(g_calls - m_callsBefore) + " calls");
        m_callsBefore = g_calls;
        m_expectedCalls = 0;
        m_expected.clear();
        m_isOrdered = true;
    }

    static std::string listed(const std::map<PP_Instance, std::vector<std::string>>& answers) {
        std::string list;
        for (const auto& [element, texts] : answers) {
            for (const std::string& text : texts)
                list += std::to_string(element) + ": " + text + ' ';
        }
        return list;
    }

    host::PluginHost m_host;
    std::vector<Element> m_elements;
    std::size_t m_current = 0;
    std::vector<Operation> m_outstanding;  ///< that wait to be ended, the oldest first
    std::vector<Expected> m_expected;
    std::set<PP_Instance> m_busy;  ///< elements whose threads may have something to do
    std::size_t m_callsBefore = 0;
    std::size_t m_expectedCalls = 0;
    bool m_isOrdered = true;  ///< what is expected comes in its order
    bool m_isHeld = true;
    int m_startResult = SSO_OK;
    bool m_hasGuid = false;
    std::string m_guid;
    bool m_hasState = false;
    int m_state = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    dlog_control_set_sink([](const DlogRecord*, void*) {}, nullptr);
    std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
    Run run;
    std::size_t steps = 0;
    for (std::string line; steps < kMostSteps && std::getline(lines, line); ++steps) {
        if (!line.empty()) run.step(line);
    }
    run.end();
    return 0;
}
