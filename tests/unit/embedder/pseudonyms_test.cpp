// What a recording has in the place of what tells of a user.

#include "embedder/pseudonyms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "protocol_data.h"

namespace {

using embedder::Pseudonyms;
using Json = nlohmann::ordered_json;
using ::testing::HasSubstr;
using ::testing::Not;

class ThePseudonyms : public ::testing::Test {
  protected:
    std::string request(const std::string& text) {
        Json json = Json::parse(text);
        m_pseudonyms.replaceRequest(json);
        return json.dump();
    }

    std::string answer(const std::string& text, const std::string& command = "") {
        Json json = Json::parse(text);
        m_pseudonyms.replaceAnswer(json, command);
        return json.dump();
    }

    Pseudonyms m_pseudonyms;
};

TEST_F(ThePseudonyms, StandInLinesAsTheJournalWritesThem) {
    const std::string begin = R"({"time":"2026-11-21T08:50:20.939Z","instance":3,"path":)";
    EXPECT_EQ(
        m_pseudonyms.line(begin + R"("async","request":{"command":"sso_plugin_getZEVAccessToken",)"
                                  R"("id":"my-client","secret":"my-secret"}})"),
        begin + R"("async","request":{"command":"sso_plugin_getZEVAccessToken",)"
                R"("id":"id-1","secret":"secret-1"},"pseudonyms":true})");
    EXPECT_EQ(
        m_pseudonyms.line(begin + R"("async","answer":{"command":)"
                                  R"("sso_plugin_getZEVAccessToken","status":0,"token":"abc"},)"
                                  R"("command":"sso_plugin_getZEVAccessToken",)"
                                  R"("milliseconds":6.012})"),
        begin + R"("async","answer":{"command":"sso_plugin_getZEVAccessToken","status":0,)"
                R"("token":"token-1"},"command":"sso_plugin_getZEVAccessToken",)"
                R"("milliseconds":6.012,"pseudonyms":true})");
    EXPECT_EQ(m_pseudonyms.line(begin + R"("blocking","answer":{"code":0,"value":"my-client"},)"
                                        R"("command":"sso_plugin_getGuid","milliseconds":1.0})"),
              begin + R"("blocking","answer":{"code":0,"value":"id-1"},)"
                      R"("command":"sso_plugin_getGuid","milliseconds":1.0,"pseudonyms":true})");
}

TEST_F(ThePseudonyms, AreTheSameForATextWhereverItIsAndOthersForOthers) {
    EXPECT_EQ(request(R"({"command":"sso_plugin_getZEVAccessToken","id":"a","secret":"b"})"),
              R"({"command":"sso_plugin_getZEVAccessToken","id":"id-1","secret":"secret-1"})");
    EXPECT_EQ(request(R"({"command":"sso_plugin_getZEVAccessToken","id":"c","secret":"a"})"),
              R"({"command":"sso_plugin_getZEVAccessToken","id":"id-2","secret":"id-1"})");
    EXPECT_EQ(answer(R"({"code":0,"value":"b"})", "sso_plugin_getLoginUid"),
              R"({"code":0,"value":"secret-1"})");
    EXPECT_EQ(answer(R"({"code":0,"value":"A"})", "sso_plugin_getLoginUid"),
              R"({"code":0,"value":"uid-1"})");
}

TEST_F(ThePseudonyms, AreCountedAndNotMadeOfTheText) {
    Pseudonyms other;
    for (Pseudonyms* names : {&m_pseudonyms, &other}) {
        Json json = names == &other ? Json{{"data", "robin@user.example"}} : Json{{"data", "x"}};
        names->replaceRequest(json);
        EXPECT_EQ(json.dump(), R"({"data":"data-1"})");
    }
    // A text that is called like a pseudonym is a text.
    EXPECT_EQ(request(R"({"data":"data-1"})"), R"({"data":"data-2"})");
}

TEST_F(ThePseudonyms, StandForTheValuesOfEveryKeyOfARequest) {
    for (const contract::Command& command : contract::protocol().commands) {
        Pseudonyms pseudonyms;
        Json made = {{"command", command.name}};
        Json expected = made;
        for (const contract::Key& key : command.keys) {
            made[key.name] = key.name + " of somebody";
            expected[key.name] = key.name + "-1";
        }
        pseudonyms.replaceRequest(made);
        EXPECT_EQ(made.dump(), expected.dump());
    }
}

TEST_F(ThePseudonyms, LeaveWhatIsEmptyAndWhatIsTheProtocols) {
    const std::vector<std::pair<std::string, std::string>> same = {
        {"sso_plugin_getZEVAccessToken",
         R"({"command":"sso_plugin_getZEVAccessToken","status":0,"token":""})"},
        {"sso_plugin_getZEVAccessToken",
         R"({"command":"sso_plugin_getZEVAccessToken","status":-1,"errorName":"error","errorMessage":"request access token failed"})"},
        {"",
         R"({"status":-1,"errorName":"commandInvaild","errorMessage":"Parameter command is invalid"})"},
        {"sso_plugin_showTermsPage",
         R"({"status":-1,"errorName":"paramInvaild","errorMessage":"termsId parameter is invalid"})"},
        {"sso_plugin_show_login_page", R"({"status":0,"state":3})"},
        {"sso_plugin_addPartnerAccountMappingInfo", R"({"status":0,"result":-6})"},
        {"sso_plugin_getPartnerAccountMappingList", R"({"status":0,"PartnerAccountInfo":"[]"})"},
        {"sso_plugin_getPartnerAccountMappingList", R"({"status":0,"PartnerAccountInfo":""})"},
        {"sso_plugin_getVersion", R"({"code":0,"value":"1.1","errorName":"","errorMessage":""})"},
        {"sso_plugin_getSSOState", R"({"code":0,"value":""})"},
        {"sso_plugin_getLoginStatus", R"({"code":0,"value":1})"},
        {"sso_plugin_getTermsAgreementState", R"({"code":0,"value":0})"},
        {"", R"("Unregister")"},
    };
    for (const auto& [command, text] : same) EXPECT_EQ(answer(text, command), text);
}

TEST_F(ThePseudonyms, LeaveTheShapeOfTexts) {
    EXPECT_EQ(answer(R"({"code":0,"value":"me@x?tok?u?g"})", "sso_plugin_getSSOState"),
              R"({"code":0,"value":"loginId-1?token-1?uid-1?guid-1"})");
    EXPECT_EQ(answer(R"({"code":0,"value":"me@x??u"})", "sso_plugin_getSSOState"),
              R"({"code":0,"value":"loginId-1??uid-1"})");
    EXPECT_EQ(answer(R"({"code":0,"value":"a?b?c?d?e"})", "sso_plugin_getSSOState"),
              R"({"code":0,"value":"loginId-2?token-2?uid-2?guid-2?guid-3"})");
    EXPECT_EQ(answer(R"({"code":0,"value":"u?g"})", "sso_plugin_getGuid"),
              R"({"code":0,"value":"guid-4"})");
    const std::string list = "sso_plugin_getPartnerAccountMappingList";
    EXPECT_EQ(
        answer(Json{{"PartnerAccountInfo",
                     R"([ {"appID":"a1","cpName":"b1","cpUID":"u","bob@y":{"since":1999}} ])"}}
                   .dump(),
               list),
        Json({{"PartnerAccountInfo", R"([{"appID":"appID-1","cpName":"cpName-1","cpUID":)"
                                     R"("uid-1","key-1":{"key-2":1}}])"}})
            .dump());
    for (const std::string text : {"no JSON: bob@y", "[\"bob@y\"", "\"bob@y\"", "17"}) {
        EXPECT_THAT(answer(Json{{"PartnerAccountInfo", text}}.dump(), list),
                    HasSubstr(R"({"PartnerAccountInfo":"PartnerAccountInfo-)"));
    }
    const auto nested = [](const std::string& text) {
        return std::string(100, '[') + text + std::string(100, ']');
    };
    EXPECT_EQ(answer(Json{{"PartnerAccountInfo", nested("\"bob@y\"")}}.dump(), list),
              Json({{"PartnerAccountInfo", nested("\"key-1\"")}}).dump());
    const std::string deep = std::string(101, '[') + "\"bob@y\"" + std::string(101, ']');
    EXPECT_EQ(answer(Json{{"PartnerAccountInfo", deep}}.dump(), list),
              R"({"PartnerAccountInfo":"PartnerAccountInfo-5"})");
    EXPECT_EQ(answer(Json{{"PartnerAccountInfo", std::string(1000000, '[')}}.dump(), list),
              R"({"PartnerAccountInfo":"PartnerAccountInfo-6"})");
}

TEST_F(ThePseudonyms, StandForAllThatTheProtocolDoesNotKnow) {
    EXPECT_EQ(request(R"("a token")"), R"("text-1")");
    EXPECT_EQ(request(R"(["a token",["another"],null,true])"),
              R"(["text-1",["text-2"],null,true])");
    EXPECT_EQ(
        request(R"({"command":"sso_plugin_getversion","token of bob":"bob","more":{"x":"y"}})"),
        R"({"command":"command-1","key-1":"text-3","key-2":{"key-3":"text-4"}})");
    EXPECT_EQ(request(R"({"command":17,"id":4711,"secret":4711,"data":-1.25})"),
              R"({"command":1,"id":2,"secret":2,"data":3.5})");
    EXPECT_EQ(request(R"({"$type":"arraybuffer","bytes":[112,119]})"),
              R"({"$type":"arraybuffer","bytes":[0,0]})");
    EXPECT_EQ(request(R"({"id":{"$type":"undefined"},"data":{"$type":"double","value":"NaN"}})"),
              R"({"id":{"$type":"undefined"},"data":{"$type":"double","value":"NaN"}})");
    EXPECT_EQ(request(R"({"id":{"$type":"mine","value":"x"}})"),
              R"({"id":{"key-4":"id-1","value":"key-3"}})");
    EXPECT_EQ(
        answer(R"({"command":"sso_plugin_getversion","status":18,"errorMessage":"bob is out"})"),
        R"({"command":"command-1","status":18,"errorMessage":"error-1"})");
    EXPECT_EQ(answer(R"({"token":"t","value":"v","extra":12})", "no such command"),
              R"({"token":"token-1","value":"value-1","key-5":4})");
}

TEST_F(ThePseudonyms, LeaveNothingOfWhatWasThere) {
    // Planted wherever a text can be.
    const std::vector<std::string> lines = {
        R"({"path":"async","request":{"command":"sso_plugin_getZEVAccessToken","id":"PLANT","secret":"xPLANTx"}})",
        R"({"path":"async","request":{"command":"PLANT","PLANT":["PLANT",{"PLANT":"PLANT"}]},"command":"PLANT"})",
        R"({"path":"async","request":"PLANT"})",
        R"({"path":"async","request":{"$type":"double","value":"PLANT"}})",
        R"({"path":"async","request":{"$type":"PLANT","bytes":"PLANT"}})",
        R"({"path":"async","request":{"$type":"arraybuffer","bytes":["PLANT"]}})",
        R"({"path":"async","request":{"$type":"undefined","value":"PLANT"}})",
        R"({"path":"async","request":{"$type":"dictionary","value":{"PLANT":"PLANT","$type":"PLANT"}}})",
        R"({"path":"async","answer":{"command":"PLANT","errorName":"PLANT","errorMessage":"PLANT","token":["PLANT"]}})",
        R"({"path":"async","answer":{"PartnerAccountInfo":"[\"\\u0050LANT\"]"},"command":"sso_plugin_getPartnerAccountMappingList"})",
        R"({"path":"blocking","answer":{"value":"?PLANT?"},"command":"sso_plugin_getSSOState"})",
        R"({"path":"blocking","answer":{"value":"PLANT"},"command":"sso_plugin_getTermsAgreementState"})",
        R"({"path":"blocking","answer":["PLANT"],"command":"sso_plugin_getVersion"})",
    };
    for (const std::string& line : lines) {
        const std::string written = m_pseudonyms.line(line);
        EXPECT_THAT(written, Not(HasSubstr("PLANT")));
        EXPECT_THAT(written, Not(HasSubstr("0050LANT")));
    }
}

}  // namespace
