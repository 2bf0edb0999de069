#include "account/account_file.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "account/operation_names.h"

namespace account {
namespace {

constexpr int kLongestDelayMs = 600000;
constexpr std::int64_t kLongestLifetimeSeconds = 1000000000;
constexpr std::int64_t kLatestTime = 1LL << 52;  // exact in a number of JSON
constexpr int kMostTokens = 1000000000;
using Value = base::FileValue;
constexpr auto kOptional = Value::Member::Optional;
constexpr auto kRequired = Value::Member::Required;

using Members = std::vector<Value::Member>;

/// The members of every account, the first or a further one.
Members profileMembers(Profile& profile) {
    Identity& identity = profile.identity;
    return {
        {"loginId", kRequired,
         [&](const Value& text) { identity.loginId = text.text(kLongestId); }},
        {"uid", kRequired, [&](const Value& text) { identity.uid = text.text(kLongestId); }},
        {"guid", kRequired, [&](const Value& text) { identity.guid = text.text(); }},
        {"authToken", kRequired, [&](const Value& text) { identity.authToken = text.text(); }},
        {"displayName", kOptional, [&](const Value& text) { profile.displayName = text.text(); }},
        {"password", kOptional, [&](const Value& text) { profile.password = text.text(); }},
    };
}

std::chrono::milliseconds delay(const Value& value) {
    return std::chrono::milliseconds(value.wholeNumber(kLongestDelayMs));
}

PopupState popupState(const Value& value) {
    const std::string& name = value.text();
    if (name == "completed") {
        return PopupState::Completed;
    }
    if (name == "closed") {
        return PopupState::Closed;
    }
    if (name == "failed") {
        return PopupState::Failed;
    }
    value.fail(R"(must be "completed", "closed" or "failed")");
}

Popup popup(const Value& value) {
    Popup popup;
    value.object({
        {"state", kOptional, [&](const Value& state) { popup.state = popupState(state); }},
        {"delayMs", kOptional, [&](const Value& number) { popup.delay = delay(number); }},
    });
    return popup;
}

void addClient(const Value& value, std::map<std::string, Client>& clients) {
    std::string id;
    Client client;
    value.object({
        {"id", kRequired,
         [&](const Value& text) {
             id = text.text();
             if (clients.count(id) != 0) {
                 text.fail("is the id of another client, too");
             }
         }},
        {"secret", kRequired, [&](const Value& text) { client.secret = text.text(); }},
        {"token", kRequired, [&](const Value& text) { client.token = text.text(); }},
        {"lifetimeSeconds", kOptional,
         [&](const Value& number) {
             client.lifetime = number.wholeNumber(kLongestLifetimeSeconds) * 1000;
         }},
    });
    clients.emplace(std::move(id), std::move(client));
}

Mapping mapping(const Value& value) {
    Mapping mapping;
    value.object({
        {"appID", kRequired, [&](const Value& text) { mapping.appId = text.filledText(); }},
        {"cpName", kRequired, [&](const Value& text) { mapping.cpName = text.filledText(); }},
        {"cpUID", kRequired, [&](const Value& text) { mapping.cpUid = text.filledText(); }},
    });
    return mapping;
}

void readMappings(const Value& value, Mappings& mappings) {
    value.array([&](const Value& one) {
        if (!mappings.add(mapping(one))) one.fail("is there twice");
    });
}

bool isAgreed(const Value& value) {
    const std::string& name = value.text();
    if (name != "agreed" && name != "notAgreed") {
        value.fail(R"(must be "agreed" or "notAgreed")");
    }
    return name == "agreed";
}

/// A document, with the version that the first user has agreed to.
struct ReadTerms {
    TermsDocument document;
    std::optional<std::string> agreed;
};

ReadTerms readTerms(const Value& value) {
    ReadTerms read;
    if (!value.isObject()) {
        if (isAgreed(value)) read.agreed = read.document.version;
        return read;
    }
    value.object({
        {"version", kOptional, [&](const Value& text) { read.document.version = text.text(); }},
        {"title", kOptional, [&](const Value& text) { read.document.title = text.text(); }},
        {"text", kOptional, [&](const Value& text) { read.document.text = text.text(); }},
        {"agreedVersion", kOptional, [&](const Value& text) { read.agreed = text.text(); }},
    });
    return read;
}

Operation operation(const Value& value) {
    const std::string& name = value.text();
    const auto found = operationNamed(name);
    if (!found) value.fail("must be the name of a function of sso_api.h that can fail");
    return *found;
}

void readPopups(const Value& value, Behaviour& behaviour) {
    value.object({
        {"login", kOptional, [&](const Value& one) { behaviour.login = popup(one); }},
        {"createAccount", kOptional,
         [&](const Value& one) { behaviour.createAccount = popup(one); }},
        {"terms", kOptional, [&](const Value& one) { behaviour.terms = popup(one); }},
    });
}

Profile* find(std::vector<Profile>& profiles, const std::string& loginId) {
    const auto found = std::find_if(profiles.begin(), profiles.end(), [&](const Profile& profile) {
        return profile.identity.loginId == loginId;
    });
    return found != profiles.end() ? &*found : nullptr;
}

void addFurther(const Value& value, std::vector<Profile>& profiles) {
    Profile profile;
    Members members = profileMembers(profile);
    const Value::Read loginId = members.front().read;
    members.front().read = [&](const Value& text) {
        loginId(text);
        if (find(profiles, profile.identity.loginId) != nullptr) {
            text.fail("is the loginId of another account, too");
        }
    };
    members.push_back(
        {"mappings", kOptional, [&](const Value& list) { readMappings(list, profile.mappings); }});
    members.push_back({"agreements", kOptional, [&](const Value& agreements) {
                           agreements.dictionary([&](const std::string& id, const Value& text) {
                               profile.agreements[id] = text.text();
                           });
                       }});
    value.object(members);
    profiles.push_back(std::move(profile));
}

void readToken(const Value& value, Description& into) {
    Profile* profile = nullptr;
    std::string client;
    Token token;
    value.object({
        {"loginId", kRequired,
         [&](const Value& text) {
             profile = find(into.profiles, text.text());
             if (profile == nullptr) text.fail("is no account's here");
         }},
        {"client", kRequired,
         [&](const Value& text) {
             client = text.text();
             if (into.clients.count(client) == 0) text.fail("is no client's id here");
         }},
        {"token", kRequired, [&](const Value& text) { token.text = text.text(); }},
        {"number", kOptional,
         [&](const Value& number) {
             token.number = static_cast<int>(number.wholeNumber(kMostTokens));
         }},
        {"expiry", kOptional,
         [&](const Value& time) { token.expiry = time.wholeNumber(kLatestTime); }},
    });
    if (!profile->tokens.emplace(client, token).second) value.fail("is there twice");
}

Description description(const Value& whole) {
    Description read;
    Profile first;
    bool hasFirst = false;
    std::optional<Value> accounts;
    std::optional<Value> signedIn;
    std::optional<Value> signedInAs;
    std::optional<Value> tokens;
    whole.object({
        {"$schema", kOptional, [](const Value& value) { value.text(); }},
        {"account", kOptional,
         [&](const Value& value) {
             value.object(profileMembers(first));
             hasFirst = true;
         }},
        {"signedIn", kOptional, [&](const Value& value) { signedIn.emplace(value); }},
        {"popups", kOptional, [&](const Value& value) { readPopups(value, read.behaviour); }},
        {"requestDelayMs", kOptional,
         [&](const Value& value) { read.behaviour.requestDelay = delay(value); }},
        {"clients", kOptional,
         [&](const Value& value) {
             value.array([&](const Value& one) { addClient(one, read.clients); });
         }},
        {"mappings", kOptional, [&](const Value& value) { readMappings(value, first.mappings); }},
        {"terms", kOptional,
         [&](const Value& value) {
             value.dictionary([&](const std::string& id, const Value& one) {
                 const ReadTerms terms = readTerms(one);
                 read.terms[id] = terms.document;
                 if (terms.agreed) first.agreements[id] = *terms.agreed;
             });
         }},
        {"unavailable", kOptional,
         [&](const Value& value) {
             value.array(
                 [&](const Value& one) { read.behaviour.unavailable.insert(operation(one)); });
         }},
        {"accounts", kOptional, [&](const Value& value) { accounts.emplace(value); }},
        {"signedInAs", kOptional, [&](const Value& value) { signedInAs.emplace(value); }},
        {"tokens", kOptional, [&](const Value& value) { tokens.emplace(value); }},
    });
    if (hasFirst) read.profiles.push_back(std::move(first));
    if (accounts) {
        accounts->array([&](const Value& one) { addFurther(one, read.profiles); });
    }
    const bool isSignedIn = signedIn ? signedIn->boolean() : !read.profiles.empty();
    if (isSignedIn && read.profiles.empty()) {
        signedIn->fail("must not be true without an account");
    }
    if (isSignedIn) read.signedIn = read.profiles.front().identity.loginId;
    if (signedInAs) {
        if (!isSignedIn) signedInAs->fail("must not be there when nobody is signed in");
        read.signedIn = signedInAs->text();
        if (find(read.profiles, *read.signedIn) == nullptr) {
            signedInAs->fail("is no account's here");
        }
    }
    if (tokens) tokens->array([&](const Value& one) { readToken(one, read); });
    return read;
}

}  // namespace

Description readAccountFile(const std::string& path) {
    return parseAccountFile(base::readFile(path), path);
}

Description parseAccountFile(std::string_view json, const std::string& name) {
    Description read;
    Value::readAll(name, json, [&](const Value& whole) { read = description(whole); });
    return read;
}

}  // namespace account
