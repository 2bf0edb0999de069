// The requests for tokens and mappings.

#include <gmock/gmock.h>

#include "fixture.h"

namespace {

using ::testing::ElementsAre;

std::string accountWith(const std::string& members) {
    return R"({"account": {"loginId": "login-1", "uid": "uid-1", "guid": "g", "authToken": "t"})" +
           members + "}";
}

using ARequest = TheClientLibrary;

TEST_F(ARequest, NeedsSomebodyWhoIsSignedIn) {
    const std::string clients = R"(, "clients": [{"id": "c", "secret": "s", "token": "t"}],
                                     "mappings": [{"appID": "a", "cpName": "p", "cpUID": "u"}])";
    for (const std::string& account :
         {"{" + clients.substr(1) + "}", accountWith(clients + R"(, "signedIn": false)")}) {
        SCOPED_TRACE(account);
        useAccount(account);
        EXPECT_EQ(token("c", "s"), "-2 null");
        EXPECT_EQ(list("a", "p"), "-2 null");
        EXPECT_EQ(add("a", "p", "new"), "-2");
        EXPECT_EQ(add("", "p", "new"), "-2");
        EXPECT_EQ(remove("a", "p", "u"), "-2");
    }
}

TEST_F(ARequest, TakesAsLongAsTheAccountSays) {
    useAccount(accountWith(R"(, "requestDelayMs": 600000)"));
    Callbacks slow;
    EXPECT_EQ(slow.requestToken("token", "c", "s"), 0);
    EXPECT_EQ(slow.listMappings("list", "a", "p"), 0);
    EXPECT_EQ(slow.addMapping("add", "a", "p", "u"), 0);
    EXPECT_EQ(slow.removeMapping("remove", "a", "p", "u"), 0);
    useAccount(accountWith(""));
    Callbacks quick;
    quick.requestToken("token", "c", "s");
    quick.listMappings("list", "a", "p");
    quick.addMapping("add", "a", "p", "u");
    quick.removeMapping("remove", "a", "p", "u");
    EXPECT_THAT(quick.waitFor(4),
                ElementsAre("token: -5 null", "list: 0 []", "add: 0", "remove: 0"));
    EXPECT_THAT(quick.threads(), ElementsAre("sso-api", "sso-api", "sso-api", "sso-api"));
    EXPECT_THAT(slow.now(), ElementsAre());
    EXPECT_EQ(sso_api_control_outstanding(), 4);
}

TEST_F(ARequest, CopiesItsTexts) {
    useAccount(accountWith(R"(, "requestDelayMs": 1,
        "clients": [{"id": "client", "secret": "secret", "token": "token-1"}],
        "terms": {"terms": "notAgreed"}, "popups": {"terms": {"delayMs": 1}})"));
    std::string texts[] = {"client", "secret", "app", "partner", "user", "terms"};
    Callbacks callbacks;
    callbacks.requestToken("token", texts[0].data(), texts[1].data());
    callbacks.addMapping("add", texts[2].data(), texts[3].data(), texts[4].data());
    callbacks.listMappings("list", texts[2].data(), texts[3].data());
    callbacks.removeMapping("remove", texts[2].data(), texts[3].data(), texts[4].data());
    callbacks.showTerms("terms", texts[5].data());
    for (std::string& text : texts) {
        text.assign(text.size(), '#');
    }
    EXPECT_THAT(callbacks.waitFor(5),
                ElementsAre("token: 0 token-1", "add: 0",
                            R"(list: 0 [{"appID":"app","cpName":"partner","cpUID":"user"}])",
                            "remove: 0", "terms: 0 state 0"));
    EXPECT_EQ(termState("terms"), "0 1");
}

TEST_F(ARequest, LooksAtTheAccountThatIsThereAtItsEnd) {
    useAccount(accountWith(R"(, "requestDelayMs": 1)"));
    Callbacks callbacks;
    callbacks.inside = [&](const std::string& operation) {
        if (operation == "first") {
            sso_api_control_set_account(
                accountWith(R"(, "clients": [{"id": "c", "secret": "s", "token": "late"}])")
                    .c_str());
        }
    };
    callbacks.requestToken("first", "c", "s");
    callbacks.requestToken("second", "c", "s");
    EXPECT_THAT(callbacks.waitFor(2), ElementsAre("first: -5 null", "second: 0 late"));
}

using AnAccessToken = TheClientLibrary;

TEST_F(AnAccessToken, IsForAClientThatKnowsItsSecret) {
    useAccount(accountWith(R"(, "clients": [{"id": "one", "secret": "s1", "token": "token-1"},
                                            {"id": "two", "secret": "s2", "token": ""},
                                            {"id": "", "secret": "", "token": "token-3"}])"));
    EXPECT_EQ(token("one", "s1"), "0 token-1");
    EXPECT_EQ(token("two", "s2"), "0 ");
    EXPECT_EQ(token("", ""), "0 token-3");
    EXPECT_EQ(token("one", "s2"), "-5 null");
    EXPECT_EQ(token("one", ""), "-5 null");
    EXPECT_EQ(token("three", "s1"), "-5 null");
}

TEST_F(AnAccessToken, IsACopyForEachCallback) {
    useAccount(accountWith(R"(, "clients": [{"id": "c", "secret": "s", "token": "token-1"}])"));
    EXPECT_EQ(token("c", "s"), "0 token-1");  // the callback writes over it
    EXPECT_EQ(token("c", "s"), "0 token-1");
}

using AMapping = TheClientLibrary;

TEST_F(AMapping, IsListedOnceItIsAdded) {
    useAccount(accountWith(""));
    EXPECT_EQ(list("app", "partner"), "0 []");
    EXPECT_EQ(add("app", "partner", "user"), "0");
    EXPECT_EQ(list("app", "partner"), R"(0 [{"appID":"app","cpName":"partner","cpUID":"user"}])");
}

TEST_F(AMapping, IsListedForItsApplicationAndPartner) {
    useAccount(accountWith(R"(, "mappings": [
        {"appID": "app", "cpName": "two", "cpUID": "z"},
        {"appID": "app", "cpName": "one", "cpUID": "y"},
        {"appID": "other", "cpName": "one", "cpUID": "x"},
        {"appID": "app", "cpName": "two", "cpUID": "a"}])"));
    EXPECT_EQ(list("app", "one"), R"(0 [{"appID":"app","cpName":"one","cpUID":"y"}])");
    EXPECT_EQ(list("app", "two"), R"(0 [{"appID":"app","cpName":"two","cpUID":"z"},)"
                                  R"({"appID":"app","cpName":"two","cpUID":"a"}])");
    EXPECT_EQ(list("other", ""), R"(0 [{"appID":"other","cpName":"one","cpUID":"x"}])");
    EXPECT_EQ(list("app", "none"), "0 []");
    EXPECT_EQ(list("", ""), "0 []");
    EXPECT_EQ(list("", "one"), "0 []");
}

TEST_F(AMapping, IsListedBehindOlderOnesOfAllPartners) {
    useAccount(accountWith(R"(, "mappings": [
        {"appID": "app", "cpName": "two", "cpUID": "u"},
        {"appID": "app", "cpName": "one", "cpUID": "u"}])"));
    EXPECT_EQ(add("app", "another", "u"), "0");
    EXPECT_EQ(list("app", ""), R"(0 [{"appID":"app","cpName":"two","cpUID":"u"},)"
                               R"({"appID":"app","cpName":"one","cpUID":"u"},)"
                               R"({"appID":"app","cpName":"another","cpUID":"u"}])");
}

TEST_F(AMapping, ComesBackAsTheYoungestWhenItIsAddedAgain) {
    useAccount(accountWith(R"(, "mappings": [
        {"appID": "app", "cpName": "p", "cpUID": "1"},
        {"appID": "app", "cpName": "p", "cpUID": "2"}])"));
    EXPECT_EQ(remove("app", "p", "1"), "0");
    EXPECT_EQ(add("app", "p", "1"), "0");
    EXPECT_EQ(list("app", "p"), R"(0 [{"appID":"app","cpName":"p","cpUID":"2"},)"
                                R"({"appID":"app","cpName":"p","cpUID":"1"}])");
}

TEST_F(AMapping, IsAddedOnce) {
    useAccount(accountWith(R"(, "mappings": [{"appID": "a", "cpName": "p", "cpUID": "u"}])"));
    EXPECT_EQ(add("a", "p", "u"), "-6");
    EXPECT_EQ(add("a", "p", "v"), "0");
    EXPECT_EQ(add("a", "p", "v"), "-6");
    EXPECT_EQ(add("a", "q", "u"), "0");
    EXPECT_EQ(add("b", "p", "u"), "0");
}

TEST_F(AMapping, IsNotAddedWithAnEmptyText) {
    useAccount(accountWith(""));
    EXPECT_EQ(add("", "p", "u"), "-4");
    EXPECT_EQ(add("a", "", "u"), "-4");
    EXPECT_EQ(add("a", "p", ""), "-4");
    EXPECT_EQ(list("a", ""), "0 []");
}

TEST_F(AMapping, IsRemovedAlone) {
    useAccount(accountWith(R"(, "mappings": [{"appID": "a", "cpName": "p", "cpUID": "u"},
                                             {"appID": "a", "cpName": "p", "cpUID": "v"}])"));
    EXPECT_EQ(remove("a", "p", "u"), "0");
    EXPECT_EQ(remove("a", "p", "u"), "-5");
    EXPECT_EQ(list("a", "p"), R"(0 [{"appID":"a","cpName":"p","cpUID":"v"}])");
}

TEST_F(AMapping, IsRemovedWithAllOfItsApplicationAndPartner) {
    useAccount(accountWith(R"(, "mappings": [{"appID": "a", "cpName": "p", "cpUID": "u"},
                                             {"appID": "a", "cpName": "q", "cpUID": "u"},
                                             {"appID": "b", "cpName": "p", "cpUID": "u"},
                                             {"appID": "a", "cpName": "p", "cpUID": "v"}])"));
    EXPECT_EQ(remove("a", "p", ""), "0");
    EXPECT_EQ(list("a", ""), R"(0 [{"appID":"a","cpName":"q","cpUID":"u"}])");
    EXPECT_EQ(list("b", ""), R"(0 [{"appID":"b","cpName":"p","cpUID":"u"}])");
    EXPECT_EQ(remove("a", "p", ""), "-5");
    EXPECT_EQ(add("a", "p", "u"), "0");
    EXPECT_EQ(remove("a", "q", ""), "0");
    EXPECT_EQ(remove("a", "p", ""), "0");  // its neighbour is another application's
    EXPECT_EQ(list("b", ""), R"(0 [{"appID":"b","cpName":"p","cpUID":"u"}])");
    EXPECT_EQ(remove("a", "", ""), "-5");
    EXPECT_EQ(remove("", "p", ""), "-5");
    EXPECT_EQ(remove("a", "", "u"), "-5");
}

TEST_F(AMapping, IsListedAsJsonWhateverItsTexts) {
    useAccount(accountWith(""));
    EXPECT_EQ(add("a", "\"\\\n", "\xC3\xA9"), "0");
    EXPECT_EQ(add("a", "p", "\xFF"), "0");  // not UTF-8
    EXPECT_EQ(list("a", ""),
              "0 [{\"appID\":\"a\",\"cpName\":\"\\\"\\\\\\n\",\"cpUID\":\"\xC3\xA9\"},"
              "{\"appID\":\"a\",\"cpName\":\"p\",\"cpUID\":\"\xEF\xBF\xBD\"}]");
}

TEST_F(AMapping, StaysAsItIsWhenARequestDoesNotEndByItself) {
    useAccount(accountWith(R"(, "mappings": [{"appID": "a", "cpName": "p", "cpUID": "u"}])"));
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.removeMapping("remove", "a", "p", "u");
    callbacks.addMapping("add", "a", "p", "v");
    sso_give_proxy();
    callbacks.removeMapping("remove", "a", "p", "u");
    callbacks.addMapping("add", "a", "p", "v");
    EXPECT_EQ(support::finish(0, {0, 0, nullptr}), 0);
    EXPECT_EQ(support::finish(0, {0, 0, nullptr}), 0);
    EXPECT_THAT(callbacks.now(), ElementsAre("remove: -3", "add: -3", "remove: 0", "add: 0"));
    sso_api_control_set_held(0);
    EXPECT_EQ(list("a", ""), R"(0 [{"appID":"a","cpName":"p","cpUID":"u"}])");
}

}  // namespace
