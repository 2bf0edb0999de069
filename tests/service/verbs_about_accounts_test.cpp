// Accounts, sessions, clients, tokens, terms and mappings.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "password.h"
#include "verb_fixture.h"

namespace {

using account::Outcome;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

using ANewState = VerbTest;

TEST_F(ANewState, HasAClientAndTermsAndNobody) {
    Json status = done("status");
    status.erase("service");
    EXPECT_EQ(status.dump(),
              R"({"state":"default","signedIn":null,"accounts":0,"clients":1,"mappings":0,)"
              R"("tokens":0,"terms":{"terms-1":"notAgreed","terms-2":"notAgreed"},"orders":{},)"
              R"("openPopups":0,"nextPopups":{},"clockAdvancedMs":0})");
    EXPECT_EQ(
        done("client list").dump(),
        R"([{"id":"demo-client","secret":"demo-secret","token":"access-token-of-demo-client",)"
        R"("lifetimeSeconds":86400}])");
    EXPECT_EQ(done("account list").dump(), "[]");
}

TEST_F(ANewState, IsNewOnce) {
    done("client remove demo-client");
    restart();
    EXPECT_EQ(done("client list").dump(), "[]");
    done("reset --all");
    EXPECT_EQ(done("client list").size(), 1U);
}

using AnAddedAccount = VerbTest;

TEST_F(AnAddedAccount, IsThereWithItsPasswordHashed) {
    const Json added = done("account add kim@desk.example --password-stdin --uid uid-1",
                            "kim-password\nanother line\n");
    EXPECT_EQ(added["uid"], "uid-1");
    EXPECT_EQ(added["hasPassword"], true);
    EXPECT_THAT(added["guid"].get<std::string>(), HasSubstr("guid-"));
    const std::string& kept = state().account().find("kim@desk.example")->password;
    EXPECT_TRUE(service::isPassword(kept, "kim-password"));
    EXPECT_THAT(kept, Not(HasSubstr("kim-password")));
    restart();
    EXPECT_EQ(done("account list").dump(), Json::array({added}).dump());
    EXPECT_THAT(m_events, ElementsAre(R"(default {"event":"changed","what":"accounts"})"));
}

TEST_F(AnAddedAccount, IsRefusedTwiceAndWithoutThePasswordItPromised) {
    done("account add kim");
    EXPECT_EQ(refused("account add kim"), "there is an account kim already");
    EXPECT_EQ(refused("account add robin --password-stdin", "\nrobin-password"),
              "standard input has no line with it");
    EXPECT_EQ(done("account list").size(), 1U);
    EXPECT_EQ(done("account list")[0]["hasPassword"], false);
}

TEST_F(AnAddedAccount, SignsInAndOutAndIsRemoved) {
    EXPECT_EQ(refused("sign-in"), "there is no account; ssoctl account add makes one");
    done("account add kim");
    done("account add robin");
    EXPECT_EQ(refused("sign-in nobody"), "there is no account nobody");
    EXPECT_EQ(done("sign-in").dump(), R"({"signedIn":"kim"})");
    EXPECT_EQ(done("sign-in robin").dump(), R"({"signedIn":"robin"})");
    EXPECT_EQ(done("status")["signedIn"], "robin");
    done("sign-out");
    EXPECT_EQ(done("status")["signedIn"], nullptr);
    done("sign-in robin");
    done("account remove robin");
    EXPECT_EQ(done("status")["signedIn"], nullptr);
    EXPECT_EQ(done("account list").size(), 1U);
    EXPECT_EQ(refused("account remove robin"), "there is no account robin");
}

using AClient = VerbTest;

TEST_F(AClient, GetsTheSecretItIsGivenOrANewOne) {
    EXPECT_EQ(done("client add shop --secret-stdin --lifetime 1h", "shop-secret\n").dump(),
              R"({"id":"shop","secret":"shop-secret","token":"access-token-of-shop",)"
              R"("lifetimeSeconds":3600})");
    EXPECT_EQ(refused("client add shop"), "there is a client shop already");
    const Json other = done("client add other");
    EXPECT_EQ(other["secret"].get<std::string>().size(), std::string("secret-").size() + 32);
    EXPECT_EQ(other["lifetimeSeconds"], nullptr);
    EXPECT_EQ(refused("client remove nosuch"), "there is no client nosuch");
}

TEST_F(AClient, GetsAnotherTokenWhenItsOwnIsExpired) {
    done("preset use signed-in");
    const auto ask = [this] {
        const account::Time now = state().now();
        return state()
            .change("tokens",
                    [&](account::Account& account) {
                        return account.accessToken("demo-client", "demo-secret", now);
                    })
            .value;
    };
    EXPECT_EQ(ask(), "access-token-of-demo-client");
    EXPECT_EQ(done("token list")[0]["expired"], false);
    EXPECT_EQ(done("token expire other-client").dump(), R"({"expired":0})");
    EXPECT_EQ(ask(), "access-token-of-demo-client");
    EXPECT_EQ(done("token expire demo-client").dump(), R"({"expired":1})");
    EXPECT_EQ(done("token expire").dump(), R"({"expired":0})");
    EXPECT_EQ(done("token list")[0]["expired"], true);
    EXPECT_EQ(ask(), "access-token-of-demo-client-2");
    done("clock advance 24h");
    EXPECT_EQ(ask(), "access-token-of-demo-client-3");
    done("client remove demo-client");
    EXPECT_EQ(done("token list").dump(), "[]");
}

using TermsOfAState = VerbTest;

TEST_F(TermsOfAState, AreAcceptedResetAndOutdated) {
    EXPECT_EQ(refused("terms accept terms-1"),
              "nobody is signed in; ssoctl sign-in does it, or name an account with --account");
    done("preset use signed-out");
    const auto isAgreed = [this] { return done("terms list")[0]["agreed"].get<bool>(); };
    EXPECT_EQ(done("terms accept terms-1 --account robin@user.example").dump(),
              R"({"loginId":"robin@user.example","id":"terms-1","agreedVersion":"1"})");
    EXPECT_FALSE(isAgreed());
    done("sign-in");
    EXPECT_TRUE(isAgreed());
    done("terms reset terms-1");
    EXPECT_FALSE(isAgreed());
    done("terms accept terms-1");
    EXPECT_EQ(done("terms add terms-1 --version 2").dump(), R"({"id":"terms-1","version":"2"})");
    EXPECT_FALSE(isAgreed());
    EXPECT_EQ(done("terms list")[0].dump(),
              R"({"id":"terms-1","version":"2","title":"Terms of use","agreedVersion":"1",)"
              R"("agreed":false})");
    EXPECT_EQ(refused("terms accept terms-9"), "there are no terms terms-9");
    done("terms add terms-9 --title Nine --text-stdin", "All of it.\n");
    EXPECT_EQ(state().account().description().terms.at("terms-9").text, "All of it.\n");
}

using AMapping = VerbTest;

TEST_F(AMapping, IsAddedListedAndRemoved) {
    EXPECT_THAT(refused("mapping list"), HasSubstr("nobody is signed in"));
    done("preset use signed-in");
    EXPECT_EQ(done("mapping list").dump(),
              R"([{"appID":"demo-app","cpName":"demo-partner","cpUID":"user-0"}])");
    done("mapping add demo-app demo-partner user-1");
    EXPECT_EQ(refused("mapping add demo-app demo-partner user-1"), "the mapping is there already");
    EXPECT_EQ(done("mapping remove demo-app demo-partner user-1").dump(),
              R"({"loginId":"robin@user.example","removed":1})");
    EXPECT_EQ(refused("mapping remove demo-app demo-partner user-1"), "there is no such mapping");
    done("mapping add demo-app demo-partner user-2");
    EXPECT_EQ(done("mapping remove demo-app demo-partner")["removed"], 2);
    EXPECT_EQ(done("mapping list --account robin@user.example").dump(), "[]");
    EXPECT_EQ(refused("mapping list --account nobody"), "there is no account nobody");
}

}  // namespace
