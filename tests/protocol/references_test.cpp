// References to the browser's vars: each that the plug-in gets it gives back, once.

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>

#include "asynchronous_commands.h"
#include "contract.h"
#include "host/var_table.h"

namespace protocol {
namespace {

using host::VarOperation;
using host::VarTable;

class TheReferences : public AsynchronousTest {
  protected:
    using Requests = std::set<std::string>;

    /// What pages send in the contract's rows that fulfil a condition, by an instance with their privileges.
    std::map<PP_Instance, Requests> requestsWhere(
        const std::function<bool(const contract::Row&)>& isWanted) {
        const std::map<std::string, unsigned> bits = {{"sso.partner", support::kPartner},
                                                      {"sso.platform", support::kPlatform},
                                                      {"sso.public", support::kPublic}};
        std::map<PP_Instance, Requests> requests;
        for (const contract::Visit& visit : contract::readContract()) {
            // No pairs of privileges: nothing but the gate tells them apart.
            if (!visit.setting.account.empty() || visit.setting.privileges.size() == 2) continue;
            unsigned privileges = 0;
            for (const std::string& name : visit.setting.privileges) privileges |= bits.at(name);
            Requests& those = requests[embedWith(privileges)];
            for (const contract::Row& row : visit.rows) {
                if (isWanted(row)) those.insert(row.request.dump());
            }
        }
        return requests;
    }

    /// Records while `action` runs and the plug-in gets idle.
    std::map<std::int64_t, std::vector<VarOperation>> recorded(
        PP_Instance instance, const std::function<void()>& action) {
        VarTable::instance().recordOperations(true);
        action();
        EXPECT_TRUE(host().drain(instance));
        std::map<std::int64_t, std::vector<VarOperation>> byVar;
        for (const VarOperation& operation : VarTable::instance().operations()) {
            byVar[operation.id].push_back(operation);
        }
        VarTable::instance().recordOperations(false);
        EXPECT_THAT(host().moduleHeldVars(), IsEmpty());
        EXPECT_THAT(host().problems(), IsEmpty());
        return byVar;
    }

    /// Up and down by one, never below nothing, and nothing at the end.
    static void expectBalanced(const std::vector<VarOperation>& operations) {
        int references = 0;
        for (const VarOperation& operation : operations) {
            SCOPED_TRACE(operation.call + " of " + operation.preview);
            references += operation.change;
            EXPECT_EQ(operation.moduleReferences, references);
            EXPECT_GE(references, 0);
        }
        EXPECT_EQ(references, 0);
    }

    static std::size_t countOf(const std::vector<VarOperation>& operations,
                               const std::string& call) {
        return static_cast<std::size_t>(
            std::count_if(operations.begin(), operations.end(),
                          [&](const VarOperation& operation) { return operation.call == call; }));
    }

    /// The var whose first operation was `call`, of a kind that its preview starts with.
    static std::vector<std::int64_t> madeBy(
        const std::map<std::int64_t, std::vector<VarOperation>>& byVar, const std::string& call,
        const std::string& kind) {
        std::vector<std::int64_t> ids;
        for (const auto& [id, operations] : byVar) {
            if (operations.front().call == call && operations.front().preview.rfind(kind, 0) == 0) {
                ids.push_back(id);
            }
        }
        return ids;
    }
};

using TheReferencesOfAMessage = TheReferences;
using TheReferencesOfAPrivilegeAnswer = TheReferences;

TEST_F(TheReferencesOfAMessage, AreBalancedOnEveryBlockingPath) {
    const sso_login_info info = {"first", "uid", {}};
    ASSERT_EQ(setAnswer("sso_get_login_info", {0, nullptr, &info, nullptr}), SSO_OK);
    ASSERT_EQ(setAnswer("sso_get_guid", {0, nullptr, nullptr, "guid"}), SSO_OK);
    ASSERT_EQ(setAnswer("sso_get_auth_token", {0, nullptr, nullptr, "token"}), SSO_OK);
    const auto all =
        requestsWhere([](const auto& row) { return row.path == contract::Path::Blocking; });
    for (const auto& [made, requests] : all) {
        const PP_Instance instance = made;
        for (const std::string& request : requests) {
            SCOPED_TRACE(request);
            const auto byVar = recorded(instance, [&] { replyTo(instance, json(request)); });
            for (const auto& [id, operations] : byVar) expectBalanced(operations);
            // The reply is a fresh dictionary, and its reference leaves with it.
            const auto replies = madeBy(byVar, "PPB_VarDictionary.Create", "dictionary");
            ASSERT_EQ(replies.size(), 1U);
            EXPECT_EQ(countOf(byVar.at(replies[0]), "response"), 1U);
            EXPECT_EQ(byVar.at(replies[0]).back().call, "response");
        }
    }
}

// Without an operation, whose answer comes later.
TEST_F(TheReferencesOfAMessage, AreBalancedOnEveryPostedPath) {
    const auto all = requestsWhere(
        [](const auto& row) { return row.path == contract::Path::Async && row.asksNothing; });
    for (const auto& [made, requests] : all) {
        const PP_Instance instance = made;
        for (const std::string& request : requests) {
            SCOPED_TRACE(request);
            const auto byVar = recorded(
                instance, [&] { EXPECT_EQ(answersTo(instance, json(request)).size(), 1U); });
            for (const auto& [id, operations] : byVar) {
                expectBalanced(operations);
                EXPECT_EQ(countOf(operations, "response"), 0U);
            }
            EXPECT_EQ(madeBy(byVar, "PPB_VarDictionary.Create", "dictionary").size(), 1U);
        }
    }
}

TEST_F(TheReferencesOfAMessage, AreBalancedOnEveryPathOfAnOperation) {
    const PP_Instance instance = embedWith(support::kPartner);
    const auto expectAllBalanced = [&](std::size_t dictionaries, const std::function<void()>& run) {
        const auto byVar = recorded(instance, run);
        EXPECT_FALSE(byVar.empty());
        for (const auto& [id, operations] : byVar) {
            expectBalanced(operations);
            EXPECT_EQ(countOf(operations, "response"), 0U);
        }
        EXPECT_EQ(madeBy(byVar, "PPB_VarDictionary.Create", "dictionary").size(), dictionaries);
    };
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        for (const SsoApiEnd& end : {SsoApiEnd{0, 1, "text"}, SsoApiEnd{-1, 2, nullptr}}) {
            expectAllBalanced(0, [&] { start(instance, command); });
            expectAllBalanced(1, [&] { finish(0, end); });
            EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, end)));
        }
        sso_api_control_set_start_result(-1);
        expectAllBalanced(1, [&] { host().post(instance, requestFor(command)); });
        sso_api_control_set_start_result(0);
        for (const Key& key : command.keys) {
            SCOPED_TRACE(key.name);
            Value::Dictionary request = requestFor(command);
            request[key.name] = Value::Array{"counted"};
            expectAllBalanced(key.refusal != nullptr ? 1 : 0,
                              [&] { host().post(instance, request); });
        }
        sso_give_proxy();  // ends what was started without its last text
        takeAnswers();
    }
}

// The keys are asked for in their order, and none behind the first that is no text.
TEST_F(TheReferencesOfAMessage, AreTakenOfNoKeyBehindABadOne) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        for (std::size_t bad = 0; bad < command.keys.size(); ++bad) {
            if (command.keys[bad].refusal == nullptr) continue;
            SCOPED_TRACE(command.name + (" without " + std::string(command.keys[bad].name)));
            Value::Dictionary request = requestFor(command);
            request.erase(command.keys[bad].name);
            std::vector<std::string> asked;
            std::vector<std::string> expected;
            for (std::size_t i = 0; i <= bad; ++i) expected.emplace_back(command.keys[i].name);

            VarTable::instance().recordOperations(true);
            EXPECT_EQ(answersTo(instance, request).size(), 1U);
            for (const VarOperation& operation : VarTable::instance().operations()) {
                if (operation.call != "PPB_Var.VarFromUtf8") continue;
                for (const Key& key : command.keys) {
                    const bool isKey =
                        operation.preview == "string \"" + std::string(key.name) + "\"";
                    if (isKey && (asked.empty() || asked.back() != key.name)) {
                        asked.emplace_back(key.name);
                    }
                }
            }
            VarTable::instance().recordOperations(false);
            EXPECT_EQ(asked, expected);
        }
    }
}

TEST_F(TheReferencesOfAMessage, AreBalancedWhenItIsNotHandled) {
    host().failNextRegistration(-2);
    const PP_Instance instance = embed();
    const auto byVar = recorded(instance, [&] { host().post(instance, requestOf(kVersion)); });
    ASSERT_EQ(byVar.size(), 1U);
    EXPECT_EQ(byVar.begin()->second.front().call, "PPP_Messaging.HandleMessage");
    expectBalanced(byVar.begin()->second);
}

TEST_F(TheReferencesOfAMessage, AreBalancedWhenTheHandlerIsUnregistered) {
    const PP_Instance instance = embed();
    VarTable::instance().recordOperations(true);
    host().unregister(instance);
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    host().destroy(instance);
    const auto operations = VarTable::instance().operations();
    EXPECT_FALSE(operations.empty());
    expectBalanced(operations);  // of one var: the word
    EXPECT_EQ(operations.front().preview, "string \"Unregister\"");
}

TEST_F(TheReferencesOfAPrivilegeAnswer, AreTakenOverAndReleased) {
    for (const Value& answer : {Value("true"), Value(Value::Array{true}),
                                Value(Value::Dictionary{{"x", "y"}}), Value(Value::Buffer{1})}) {
        SCOPED_TRACE(::testing::PrintToString(answer));
        m_extension.answer([answer](const std::string&, const Value&) {
            return support::RecordingExtension::Answer{0, answer};
        });
        host();
        const std::size_t before = m_extension.givenVars().size();
        VarTable::instance().recordOperations(true);
        const PP_Instance instance = embed();
        const std::vector<std::int64_t> given = m_extension.givenVars();
        ASSERT_EQ(given.size(), before + 3);
        for (std::size_t i = before; i < given.size(); ++i) {
            const auto operations = VarTable::instance().operations(given[i]);
            ASSERT_FALSE(operations.empty());
            EXPECT_EQ(operations.front().call, "vendor table");
            EXPECT_EQ(operations.front().change, 1);
            EXPECT_EQ(countOf(operations, "PPB_Var.AddRef"), 0U) << "it is taken over as it is";
            expectBalanced(operations);
        }
        EXPECT_THAT(host().moduleHeldVars(), IsEmpty());
        host().destroy(instance);
    }
}

TEST_F(TheReferencesOfAPrivilegeAnswer, AreNotTouchedWhenTheQueryFailed) {
    m_extension.answer([](const std::string&, const Value&) {
        return support::RecordingExtension::Answer{-2, "lent"};
    });
    host();
    VarTable::instance().recordOperations(true);
    embed();
    for (const VarOperation& operation : VarTable::instance().operations()) {
        EXPECT_NE(operation.preview, "string \"lent\"") << operation.call;
    }
    EXPECT_THAT(host().problems(), IsEmpty());
}

TEST_F(TheReferencesOfAPrivilegeAnswer, AreBalancedForTheQuestionsToo) {
    host();
    VarTable::instance().recordOperations(true);
    embedWith(support::kAll);
    std::map<std::int64_t, std::vector<VarOperation>> byVar;
    for (const VarOperation& operation : VarTable::instance().operations()) {
        byVar[operation.id].push_back(operation);
    }
    EXPECT_GE(byVar.size(), 4U);  // three identifiers, and the operation's name
    for (const auto& [id, operations] : byVar) expectBalanced(operations);
}

}  // namespace
}  // namespace protocol
