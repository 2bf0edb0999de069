// The pages that the account service gives to whoever shows its windows.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "account/account.h"
#include "windows.h"

namespace {

using service::OpenPopup;
using service::PopupKind;
using service::Window;
using service::windowOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kMarkup = "<script>alert('1 & \"2\"')</script>{{policy}}";
constexpr const char* kEscaped =
    "&lt;script&gt;alert(&#39;1 &amp; &quot;2&quot;&#39;)&lt;/script&gt;{{policy}}";

account::Account accountWith(const std::string& text) {
    account::Description description;
    account::Profile profile;
    profile.identity.loginId = "mia";
    profile.displayName = text;
    description.profiles.push_back(profile);
    description.signedIn = "mia";
    description.terms["terms-1"] = {text, text, text};
    return account::Account(description);
}

int count(const std::string& text, const std::string& part) {
    int found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

TEST(AWindowsPage, EscapesEveryTextOfAPerson) {
    const account::Account account = accountWith(kMarkup);
    OpenPopup terms;
    terms.kind = PopupKind::Terms;
    terms.termsId = "terms-1";
    terms.callerId = kMarkup;
    const Window window = windowOf(terms, account);
    EXPECT_EQ(window.title, kMarkup);
    EXPECT_THAT(window.html, Not(HasSubstr(kMarkup)));
    // The document's title three times, the caller, the version, the text.
    EXPECT_EQ(count(window.html, kEscaped), 6);

    terms.termsId = kMarkup;
    EXPECT_THAT(windowOf(terms, account).html, Not(HasSubstr("<script>alert")));
    const Window login = windowOf(OpenPopup(), account);
    EXPECT_THAT(login.html, HasSubstr(std::string("Signed in now: ") + kEscaped));
}

TEST(AWindowsPage, AllowsItsOwnScriptAndStyleAlone) {
    for (const PopupKind kind : {PopupKind::Login, PopupKind::CreateAccount, PopupKind::Terms}) {
        OpenPopup popup;
        popup.kind = kind;
        const std::string html = windowOf(popup, account::Account()).html;
        EXPECT_THAT(html, HasSubstr("content=\"default-src 'none'; base-uri 'none'; form-action "
                                    "'none'; script-src 'sha256-"));
        EXPECT_EQ(count(html, "<script"), 1);
        EXPECT_EQ(count(html, "<style"), 1);
        EXPECT_EQ(count(html, "{{"), 0);
        EXPECT_THAT(html, Not(HasSubstr("style=")));
    }
}

TEST(AWindowsPage, SaysWhoAsksAndForWhichVersion) {
    account::Description description;
    description.terms["terms-1"] = {"3", "Terms of use", "Be kind."};
    OpenPopup terms;
    terms.kind = PopupKind::Terms;
    terms.termsId = "terms-1";
    terms.callerId = "demo";
    const Window window = windowOf(terms, account::Account(description));
    EXPECT_EQ(window.title, "Terms of use");
    EXPECT_THAT(window.html, HasSubstr("demo asks you to agree to version 3."));
    EXPECT_THAT(window.html, HasSubstr(">Be kind.<"));
}

}  // namespace
