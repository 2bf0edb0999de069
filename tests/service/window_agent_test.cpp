// What the account service and an agent that shows its windows tell each other.

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "desk.h"
#include "event_log.h"
#include "service/bus_client.h"

namespace {

using Json = nlohmann::ordered_json;
using Texts = std::map<std::string, std::string>;

Texts readTexts(sd_bus_message* message) {
    Texts texts;
    EXPECT_GE(sd_bus_message_enter_container(message, 'a', "{ss}"), 0);
    const char* name = nullptr;
    const char* text = nullptr;
    while (sd_bus_message_read(message, "{ss}", &name, &text) > 0) texts[name] = text;
    EXPECT_GE(sd_bus_message_exit_container(message), 0);
    return texts;
}

/// An agent that shows nothing and writes down what it is told, and who opens popups for it.
class Agent {
  public:
    Agent() {
        const bool isKnown = m_client.callAndWait(
            bus::windows::kRegisterAgent, m_path,
            [](sd_bus_message* call) { return sd_bus_message_append(call, "s", "key"); },
            support::kLongEnough, [](sd_bus_message* /*answer*/) {});
        EXPECT_TRUE(isKnown);
    }

    /// Its end becomes an event as well.
    void showLogin() {
        m_client.call(
            bus::account::kShowLogin, m_path,
            [](sd_bus_message* call) { return sd_bus_message_append(call, "ss", "key", "login"); },
            std::nullopt,
            [this](sd_bus_message* answer) {
                int result = 0;
                int state = 0;
                if (answer != nullptr) sd_bus_message_read(answer, "ii", &result, &state);
                events.add(Json({"ended", result, state}).dump());
            });
    }

    /// @return what the service answers, all of it.
    Json submit(std::uint64_t popup, const Texts& fields) {
        Json told;
        m_client.callAndWait(
            bus::windows::kSubmit, m_path,
            [&](sd_bus_message* call) {
                sd_bus_message_append(call, "ts", popup, "sign-in");
                sd_bus_message_open_container(call, 'a', "{ss}");
                for (const auto& [name, text] : fields) {
                    sd_bus_message_append(call, "{ss}", name.c_str(), text.c_str());
                }
                return sd_bus_message_close_container(call);
            },
            support::kLongEnough,
            [&](sd_bus_message* answer) {
                ASSERT_NE(answer, nullptr);
                EXPECT_STREQ(sd_bus_message_get_signature(answer, 1), "ba{ss}");
                int done = 0;
                ASSERT_GE(sd_bus_message_read(answer, "b", &done), 0);
                told = Json({done != 0, readTexts(answer)});
            });
        return told;
    }

    support::EventLog events;

  private:
    const std::string m_path = service::pathOf("default");
    service::BusClient m_client{
        service::privateBusAddress(service::privateBusFolder()), [this](sd_bus* bus) {
            return sd_bus_add_object_vtable(bus, nullptr, service::kAgentPath, bus::agent::kName,
                                            kAgentTable, &events);
        }};
};

int writeDown(sd_bus_message* call, void* events, const Json& event) {
    static_cast<support::EventLog*>(events)->add(event.dump());
    return sd_bus_reply_method_return(call, "");
}

}  // namespace

int onAgentOpen(sd_bus_message* call, void* events, sd_bus_error* /*error*/) {
    std::uint64_t popup = 0;
    const char* title = "";
    const char* html = "";
    sd_bus_message_read(call, "tss", &popup, &title, &html);
    const bool isPage = std::string(html).rfind("<!DOCTYPE html>", 0) == 0;
    return writeDown(call, events, {"open", popup, title, isPage});
}

int onAgentTakeAway(sd_bus_message* call, void* events, sd_bus_error* /*error*/) {
    std::uint64_t popup = 0;
    sd_bus_message_read(call, "t", &popup);
    return writeDown(call, events, {"take away", popup});
}

int onAgentFill(sd_bus_message* call, void* events, sd_bus_error* /*error*/) {
    std::uint64_t popup = 0;
    int submit = 0;
    sd_bus_message_read(call, "t", &popup);
    const Texts fields = readTexts(call);
    sd_bus_message_read(call, "b", &submit);
    return writeDown(call, events, {"fill", popup, fields, submit != 0});
}

namespace {

class AWindowsAgent : public ::testing::Test {
  protected:
    void SetUp() override { m_desk.output("ssoctl preset use signed-out"); }

    Desk m_desk;
    Agent m_agent;
};

TEST_F(AWindowsAgent, IsToldWhatToFillIn) {
    m_agent.showLogin();
    ASSERT_TRUE(m_agent.events.waitFor(R"(["open",1,"Sign in",true])"));
    m_desk.output("ssoctl popup fill loginId=kim --password-stdin <<<kims-password");
    ASSERT_TRUE(m_agent.events.waitFor(
        R"(["fill",1,{"loginId":"kim","password":"kims-password","repeated":"kims-password"},false])"));
    m_desk.output("ssoctl popup fill --submit displayName=Kim");
    ASSERT_TRUE(m_agent.events.waitFor(R"(["fill",1,{"displayName":"Kim"},true])"));
    m_desk.output("ssoctl popup close");
    ASSERT_TRUE(m_agent.events.waitFor(R"(["take away",1])"));
    ASSERT_TRUE(m_agent.events.waitFor(R"(["ended",0,1])"));
}

TEST_F(AWindowsAgent, IsToldWhatIsWrongAndWhenTheWindowIsDone) {
    m_desk.output("ssoctl account add kim --password-stdin <<<kims-password");
    m_agent.showLogin();
    ASSERT_TRUE(m_agent.events.waitFor(R"(["open",1,"Sign in",true])"));
    EXPECT_EQ(m_agent.submit(1, {{"loginId", "kim"}, {"password", "another"}}).dump(),
              R"([false,{"password":"The sign-in name or the password is wrong."}])");
    EXPECT_EQ(m_agent.submit(1, {{"loginId", "kim"}, {"password", "kims-password"}}).dump(),
              R"([true,{}])");
    ASSERT_TRUE(m_agent.events.waitFor(R"(["ended",0,0])"));
    EXPECT_EQ(m_desk.output("ssoctl status | grep signedIn"), "signedIn: kim\n");
}

}  // namespace
