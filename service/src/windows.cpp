#include "windows.h"

#include <sodium.h>

#include <array>
#include <map>
#include <new>
#include <string_view>

#include "base/markup.h"
#include "page_texts.h"

namespace service {
namespace {

using base::escapedForMarkup;

/// Puts HTML in the places of a page, which are named as {{this}}. What is put in is not looked at: a
/// person's text that reads like a place stays a text.
std::string filled(std::string_view page, const std::map<std::string_view, std::string>& places) {
    std::string html;
    for (;;) {
        const std::size_t begin = page.find("{{");
        const std::size_t end = page.find("}}", begin);
        html += page.substr(0, begin);
        if (end == std::string_view::npos) return html;
        html += places.at(page.substr(begin + 2, end - begin - 2));
        page.remove_prefix(end + 2);
    }
}

/// A script or a style as a Content-Security-Policy allows it.
std::string hashOf(std::string_view text) {
    std::array<unsigned char, crypto_hash_sha256_BYTES> hash{};
    std::array<char,
               sodium_base64_ENCODED_LEN(crypto_hash_sha256_BYTES, sodium_base64_VARIANT_ORIGINAL)>
        base64{};
    if (sodium_init() < 0) throw std::bad_alloc();
    crypto_hash_sha256(hash.data(), reinterpret_cast<const unsigned char*>(text.data()),
                       text.size());
    sodium_bin2base64(base64.data(), base64.size(), hash.data(), hash.size(),
                      sodium_base64_VARIANT_ORIGINAL);
    return std::string("'sha256-") + base64.data() + "'";
}

/// Nothing but the page's own script and style: no network, no other script, even if one got in.
std::string policy() {
    return "default-src 'none'; base-uri 'none'; form-action 'none'; script-src " +
           hashOf(pages::kScript) + "; style-src " + hashOf(pages::kStyle);
}

Window windowWith(const std::string& title, std::string_view body,
                  std::map<std::string_view, std::string> places) {
    places["title"] = escapedForMarkup(title);
    return {title, filled(pages::kFrame, {{"policy", policy()},
                                          {"title", escapedForMarkup(title)},
                                          {"style", pages::kStyle},
                                          {"script", pages::kScript},
                                          {"body", filled(body, places)}})};
}

/// What a person calls who is signed in; "" for nobody.
std::string currentName(const account::Account& account) {
    const account::Profile* profile = account.current();
    if (profile == nullptr) return {};
    return profile->displayName.empty() ? profile->identity.loginId : profile->displayName;
}

Window termsWindow(const OpenPopup& popup, const account::Account& account) {
    const auto& documents = account.description().terms;
    const auto found = documents.find(popup.termsId);
    const bool isKnown = found != documents.end();
    const std::string title =
        isKnown && !found->second.title.empty() ? found->second.title : "Terms " + popup.termsId;
    std::string lead = popup.callerId + " asks you to agree";
    if (isKnown) lead += " to version " + found->second.version;
    const std::string text = isKnown ? found->second.text : "There is no such document here.";
    return windowWith(title, pages::kTerms,
                      {{"lead", escapedForMarkup(lead + ".")}, {"text", escapedForMarkup(text)}});
}

}  // namespace

Window windowOf(const OpenPopup& popup, const account::Account& account) {
    if (popup.kind == PopupKind::Terms) return termsWindow(popup, account);
    if (popup.kind == PopupKind::CreateAccount) {
        return windowWith("Create an account", pages::kCreateAccount,
                          {{"lead", "One account for all applications of this device."}});
    }
    const std::string name = currentName(account);
    return windowWith("Sign in", pages::kLogin,
                      {{"lead", name.empty() ? "With the account of this device."
                                             : escapedForMarkup("Signed in now: " + name)}});
}

}  // namespace service
