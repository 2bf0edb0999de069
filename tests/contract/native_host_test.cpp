// The contract, on the native host.

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "contract_suite.h"
#include "host/value_json.h"
#include "plugin_test.h"
#include "sso_api_control.h"

namespace contract {
namespace {

using host::Value;
using nlohmann::json;
using ::testing::ElementsAre;

/// The fixture of the plug-in's tests, used as a page: its checks of references come at the end.
class NativePage : public Page, support::PluginTest {
  public:
    explicit NativePage(const Setting& setting) {
        if (!setting.account.empty()) {
            std::ifstream file(setting.account);
            const std::string text{std::istreambuf_iterator<char>(file), {}};
            EXPECT_EQ(sso_api_control_set_account(text.c_str()), SSO_OK) << setting.account;
        }
        sso_api_control_set_held(0);
        m_instance = embedWith(bitsOf(setting.privileges));
    }

    ~NativePage() override { TearDown(); }

    Received send(const std::vector<Row>& rows) override {
        Received received;
        for (const Row& row : rows) {
            m_recorder.clear();
            const Value request = support::json(row.request.dump());
            if (row.path == Path::Blocking) {
                received.answers.push_back(toJson(replyTo(m_instance, request)));
                take(received.left);
            } else {
                host().post(m_instance, request);
                if (!host().waitForMessages(1, std::chrono::seconds(30))) break;
                std::vector<json> answers;
                take(answers);
                received.answers.push_back(answers.front());
                received.left.insert(received.left.end(), answers.begin() + 1, answers.end());
            }
            if (row.asksNothing) {
                EXPECT_TRUE(m_recorder.libraryCalls().empty())
                    << row.title << ", " << nameOf(row.path) << ": asks the account service";
            }
        }
        EXPECT_TRUE(host().drain(m_instance));
        take(received.left);
        return received;
    }

  private:
    void TestBody() override {}

    static unsigned bitsOf(const std::vector<std::string>& privileges) {
        unsigned bits = support::kNone;
        for (const std::string& name : privileges) {
            if (name == "sso.partner") {
                bits |= support::kPartner;
            } else if (name == "sso.platform") {
                bits |= support::kPlatform;
            } else if (name == "sso.public") {
                bits |= support::kPublic;
            } else {
                ADD_FAILURE() << "the native host has no privilege " << name;
            }
        }
        return bits;
    }

    static json toJson(const Value& value) { return json::parse(host::writeJson(value)); }

    void take(std::vector<json>& messages) {
        for (const Value& value : takeAnswers()) messages.push_back(toJson(value));
    }

    PP_Instance m_instance = 0;
};

std::unique_ptr<Page> openNativePage(const Setting& setting) {
    return std::make_unique<NativePage>(setting);
}

INSTANTIATE_TEST_SUITE_P(NativeHost, TheContract, onHost(&openNativePage), nameOfVisit);

using TheRuntime = support::PluginTest;

TEST_F(TheRuntime, IsAskedForEachPrivilegeByItsIdentifier) {
    const std::string own = support::identifierOf(support::kPartner);
    const std::string origin = own.substr(0, own.find("/privilege/"));
    std::vector<std::string> expected;
    for (const Privilege& privilege : protocol().privileges) {
        expected.push_back("GenericSyncCall(check_ace_privilege, \"" + origin +
                           privilege.identifier + "\")");
    }
    embed();
    std::vector<std::string> asked;
    for (const support::Event& event : m_recorder.events(support::Supplier::Extension)) {
        if (event.what.rfind("GenericSyncCall", 0) == 0) asked.push_back(event.what);
    }
    EXPECT_EQ(asked, expected);
}

using APageThatLosesItsHandler = support::PluginTest;

TEST_F(APageThatLosesItsHandler, IsToldWithOneWord) {
    const PP_Instance instance = embed();
    host().unregister(instance);
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    EXPECT_THAT(takeAnswers(), ElementsAre(Value(protocol().unregistered)));
}

}  // namespace
}  // namespace contract
