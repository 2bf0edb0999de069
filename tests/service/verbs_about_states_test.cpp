#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "account/account_file.h"
#include "verb_fixture.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

using ASavedState = VerbTest;

TEST_F(ASavedState, HasTheSameIdsAndTokensWhenItIsLoaded) {
    done("preset use full");
    done("account add new@user.example --password-stdin", "new-password\n");
    done("terms reset terms-2");
    done("clock advance 2h");
    done("fail getGuid --times 3");
    const std::string saved = runWords({"state", "save"}).output;
    const Json accounts = done("account list");
    const Json tokens = done("token list");
    done("reset --all");
    EXPECT_EQ(done("account list").dump(), "[]");
    EXPECT_EQ(done("clock")["advancedMs"], 0);
    EXPECT_EQ(done("state load", saved).dump(), R"({"loaded":"default"})");
    restart();
    EXPECT_EQ(done("account list"), accounts);
    EXPECT_EQ(done("token list"), tokens);
    EXPECT_EQ(done("terms list")[1]["agreed"], false);
    EXPECT_EQ(done("clock")["advancedMs"], 7200000);
    EXPECT_EQ(done("status")["orders"].dump(), R"({"sso_get_guid":{"failure":-7,"times":3}})");
    EXPECT_EQ(runWords({"state", "save"}).output, saved);
}

TEST_F(ASavedState, HasNoPasswordAsItIs) {
    done("account add kim --password-stdin", "kim-password\n");
    EXPECT_THAT(runWords({"state", "save"}).output, Not(HasSubstr("kim-password")));
}

TEST_F(ASavedState, IsAnotherStateByName) {
    done("preset use signed-in");
    EXPECT_EQ(done("state save before").dump(), R"({"saved":"before"})");
    done("sign-out");
    EXPECT_EQ(done("state load before").dump(), R"({"loaded":"before"})");
    EXPECT_EQ(done("status")["signedIn"], "robin@user.example");
    EXPECT_EQ(done("state list").dump(),
              R"([{"name":"before","current":false},{"name":"default","current":true}])");
    EXPECT_EQ(refused("state save default"), "that is this state's own name");
    EXPECT_EQ(refused("state load after"),
              "there is no state after; a file has a / in its name or ends in .json");
    EXPECT_EQ(done("state list").size(), 2U);
    done("state remove before");
    EXPECT_EQ(refused("state remove before"), "there is no state before");
    EXPECT_EQ(done("state list").size(), 1U);
}

TEST_F(ASavedState, IsRefusedWithAMistakeAndChangesNothing) {
    done("preset use signed-in");
    EXPECT_EQ(refused("state load"), "name a state or a file; - is standard input");
    EXPECT_THAT(refused("state load", "{ nonsense"), HasSubstr("the state:1"));
    EXPECT_THAT(refused("state load", R"({"signedIn": true})"),
                HasSubstr("must not be true without an account"));
    EXPECT_EQ(refused("state load", R"({"device": {}, "clockAdvancedMs": "1"})"),
              "the state: clockAdvancedMs is none of its members, or of another type");
    EXPECT_EQ(refused("state load", R"({"device": {}, "orders": {"sso_fly": {}}})"),
              "the state: orders has a member that is no function of sso_api.h");
    EXPECT_THAT(refused("state load", R"({"device": {"clients": 1}})"), HasSubstr("device"));
    EXPECT_EQ(done("status")["signedIn"], "robin@user.example");
}

TEST_F(ASavedState, MayBeAnAccountFile) {
    done("state load", R"({"account": {"loginId": "a", "uid": "b", "guid": "c", "authToken": "d"},
                           "requestDelayMs": 5})");
    EXPECT_EQ(done("status")["signedIn"], "a");
    restart();
    EXPECT_EQ(state().account().behaviour().requestDelay, std::chrono::milliseconds(5));
}

using APreset = VerbTest;

TEST_F(APreset, LeavesNothingOfWhatWasBefore) {
    const Json presets = done("preset list");
    ASSERT_EQ(presets.size(), 8U);
    for (const Json& preset : presets) {
        const std::string name = preset["name"];
        SCOPED_TRACE(name);
        EXPECT_NE(preset["about"], "");
        done("reset --all");
        done("preset use " + name);
        const std::string alone = runWords({"state", "save"}).output;
        done("preset use full");
        done("fail all");
        done("popup close login");
        done("clock advance 1h");
        done("preset use " + name);
        // Passwords get other salts.
        Json again = Json::parse(runWords({"state", "save"}).output);
        Json first = Json::parse(alone);
        for (Json* document : {&again, &first}) {
            (*document)["device"]["account"].erase("password");
            if (!(*document)["device"].contains("accounts")) continue;
            for (Json& further : (*document)["device"]["accounts"]) further.erase("password");
        }
        EXPECT_EQ(again, first);
        restart();
        EXPECT_EQ(done("status")["nextPopups"].dump(), "{}");
    }
    EXPECT_EQ(refused("preset use nosuch"),
              "there is no preset of that name; ssoctl preset list tells them");
}

using WhoeverWatches = VerbTest;

TEST_F(WhoeverWatches, IsToldNoSecret) {
    done("preset use full");
    done("account add new@user.example --password-stdin", "new-password\n");
    done("client add shop --secret-stdin", "shop-secret\n");
    done("token expire");
    done("terms reset terms-1");
    done("mapping add a b c");
    done("popup close login");
    done("clock advance 1h");
    done("fail all");
    done("sign-out");
    EXPECT_THAT(m_events, Contains(R"(default {"event":"changed","what":"clients"})"));
    EXPECT_THAT(m_events, Each(AllOf(Not(HasSubstr("password")), Not(HasSubstr("secret")),
                                     Not(HasSubstr("access-token")), Not(HasSubstr("auth-")))));
    EXPECT_EQ(m_events.size(), 10U);
}

}  // namespace
