#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "popup_names.h"
#include "verb_fixture.h"

namespace {

using account::PopupState;
using service::PopupKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using AnOpenPopup = VerbTest;

TEST_F(AnOpenPopup, EndsAsItIsTold) {
    done("preset use signed-out");
    open(PopupKind::Login, ":agent");
    EXPECT_EQ(done("popup list").dump(),
              R"([{"popup":1,"kind":"login","page":"login","hasWindow":true}])");
    EXPECT_EQ(done("popup complete").dump(), R"({"popup":1,"kind":"login","state":"completed"})");
    EXPECT_EQ(done("status")["signedIn"], "robin@user.example");
    open(PopupKind::Terms, ":agent");
    EXPECT_EQ(done("popup list")[0]["termsId"], "terms-1");
    done("popup close terms");
    open(PopupKind::CreateAccount, ":agent");
    done("popup fail createAccount");
    open(PopupKind::Login, ":agent");
    done("popup cancel login");
    EXPECT_THAT(m_ended, ElementsAre(PopupState::Completed, PopupState::Closed, PopupState::Failed,
                                     PopupState::Cancelled));
    EXPECT_THAT(m_windows, ElementsAre("open 1", "close 1", "open 2", "close 2", "open 3",
                                       "close 3", "open 4", "close 4"));
    EXPECT_EQ(done("popup list").dump(), "[]");
}

TEST_F(AnOpenPopup, OfAnotherKindIsLeftAlone) {
    open(PopupKind::Login, ":agent");
    open(PopupKind::Terms, ":agent");
    open(PopupKind::Login, ":agent");
    EXPECT_EQ(done("popup close login")["popup"], 3);
    EXPECT_EQ(done("popup close createAccount").dump(),
              R"({"next":"createAccount","state":"closed"})");
    EXPECT_EQ(done("popup close")["popup"], 2);
    EXPECT_EQ(done("popup close")["popup"], 1);
    EXPECT_EQ(refused("popup close"),
              "no popup is open; name the kind of the next: login, createAccount or terms");
}

TEST_F(AnOpenPopup, IsFilled) {
    EXPECT_EQ(refused("popup fill loginId=kim"), "no such popup is open");
    open(PopupKind::Login, ":agent");
    open(PopupKind::Terms, ":agent");
    EXPECT_EQ(refused("popup fill loginId"),
              "a field must be NAME=TEXT, such as loginId=kim@user.example");
    EXPECT_EQ(refused("popup fill password=kim-password"),
              "there is no field password but loginId and displayName; a password comes with "
              "--password-stdin, so that it is in no list of processes");
    const Json filled =
        done("popup fill loginId=kim --kind login --password-stdin --submit", "kim-password\n");
    EXPECT_EQ(filled.dump(), R"({"popup":1,"kind":"login","submitted":true})");
    EXPECT_EQ(
        m_windows.back(),
        R"(fill 1 {"loginId":"kim","password":"kim-password","repeated":"kim-password"} submit)");
    EXPECT_EQ(refused("popup fill --kind createAccount loginId=kim"), "no such popup is open");
    done("popup fill displayName=Kim");
    EXPECT_EQ(m_windows.back(), R"(fill 2 {"displayName":"Kim"})");
}

TEST_F(AnOpenPopup, WithoutAWindowIsNotFilled) {
    done("hang showLoginPage");
    open(PopupKind::Login, "");
    EXPECT_EQ(refused("popup fill loginId=kim"),
              "the popup has no window; sso-browser shows windows");
    done("popup close");
    EXPECT_THAT(m_ended, ElementsAre(PopupState::Closed));
}

using TheNextPopup = VerbTest;

TEST_F(TheNextPopup, EndsAsWasSetAlsoWhenTheServiceHasEndedMeanwhile) {
    EXPECT_EQ(done("popup cancel terms").dump(), R"({"next":"terms","state":"cancelled"})");
    done("popup close login");
    restart();
    EXPECT_EQ(done("status")["nextPopups"].dump(), R"({"login":"closed","terms":"cancelled"})");
    open(PopupKind::Terms, ":agent");
    EXPECT_EQ(done("status")["nextPopups"].dump(), R"({"login":"closed"})");
    EXPECT_THAT(m_windows, IsEmpty());
    const auto stop = state().world().loop().after(std::chrono::milliseconds(1),
                                                   [this] { state().world().loop().end(); });
    state().world().loop().run();
    EXPECT_THAT(m_ended, ElementsAre(PopupState::Cancelled));
}

using NamesOfPopups = VerbTest;

TEST_F(NamesOfPopups, AreReadAsTheyAreWritten) {
    for (const PopupKind kind : {PopupKind::Login, PopupKind::CreateAccount, PopupKind::Terms}) {
        EXPECT_EQ(service::popupKindNamed(nameOf(kind)), kind);
    }
    for (const PopupState state :
         {PopupState::Completed, PopupState::Closed, PopupState::Failed, PopupState::Cancelled}) {
        EXPECT_EQ(service::popupStateNamed(service::nameOf(state)), state);
    }
    EXPECT_EQ(service::popupKindNamed("menu"), std::nullopt);
    EXPECT_EQ(service::popupStateNamed(""), std::nullopt);
}

}  // namespace
