// Verbs about who has an account, and who is signed in.

#include <algorithm>

#include "random_id.h"
#include "verb_input.h"
#include "verb_tree.h"

namespace service::account_verbs {
namespace {

using account::Description;
using account::Profile;

struct Login {
    std::string loginId;
};

struct NewAccount {
    std::string loginId;
    std::string displayName;
    std::string uid;
    std::string guid;
    bool hasPassword = false;
};

Json asJson(const Profile& profile, const account::Account& account) {
    const Profile* current = account.current();
    return {{"loginId", profile.identity.loginId},
            {"displayName", profile.displayName},
            {"uid", profile.identity.uid},
            {"guid", profile.identity.guid},
            {"hasPassword", !profile.password.empty()},
            {"signedIn", current == &profile}};
}

Json list(VerbRun& run) {
    const account::Account& account = run.state.account();
    Json all = Json::array();
    for (const Profile& profile : account.description().profiles) {
        all.push_back(asJson(profile, account));
    }
    return all;
}

Json add(VerbRun& run, const NewAccount& wanted) {
    if (run.state.account().find(wanted.loginId) != nullptr) {
        throw Refused("there is an account " + wanted.loginId + " already");
    }
    Profile profile;
    profile.identity.loginId = wanted.loginId;
    profile.identity.uid = wanted.uid.empty() ? randomId("uid-") : wanted.uid;
    profile.identity.guid = wanted.guid.empty() ? randomId("guid-") : wanted.guid;
    profile.identity.authToken = randomId("auth-");
    profile.displayName = wanted.displayName;
    if (wanted.hasPassword) profile.password = passwordFrom(run.input);
    run.state.administer(
        "accounts", [&](Description& description) { description.profiles.push_back(profile); });
    const account::Account& account = run.state.account();
    return asJson(*account.find(wanted.loginId), account);
}

Json remove(VerbRun& run, const Login& which) {
    if (run.state.account().find(which.loginId) == nullptr) {
        throw Refused("there is no account " + which.loginId);
    }
    run.state.administer("accounts", [&](Description& description) {
        auto& profiles = description.profiles;
        profiles.erase(std::remove_if(profiles.begin(), profiles.end(),
                                      [&](const Profile& profile) {
                                          return profile.identity.loginId == which.loginId;
                                      }),
                       profiles.end());
        if (description.signedIn == which.loginId) description.signedIn.reset();
    });
    return Json::object();
}

Json signIn(VerbRun& run, const Login& which) {
    const auto& profiles = run.state.account().description().profiles;
    if (profiles.empty()) throw Refused("there is no account; ssoctl account add makes one");
    const std::string loginId =
        which.loginId.empty() ? profiles.front().identity.loginId : which.loginId;
    const auto outcome = run.state.change(
        "session", [&](account::Account& account) { return account.signIn(loginId); });
    if (outcome != account::Outcome::Ok) throw Refused("there is no account " + loginId);
    return {{"signedIn", loginId}};
}

Json signOut(VerbRun& run) {
    run.state.change("session", [](account::Account& account) {
        account.signOut();
        return 0;
    });
    return Json::object();
}

}  // namespace

void declare(VerbTree& tree) {
    tree.group("account", "Accounts of the device's users");
    tree.add<NewAccount>(
        {"account add",
         "Add an account",
         "echo kim-password | ssoctl account add kim@desk.example --password-stdin",
         {}},
        [](CLI::App& app, NewAccount& wanted) {
            app.add_option("LOGIN", wanted.loginId, "What the user signs in with")
                ->required()
                ->check(isIdentifier());
            app.add_flag("--password-stdin", wanted.hasPassword,
                         "Its password is the first line of standard input; without, nobody can "
                         "sign in on the login page");
            app.add_option("--display-name", wanted.displayName, "The user's name");
            app.add_option("--uid", wanted.uid, "Its identifier; without, a new one")
                ->check(isIdentifier());
            app.add_option("--guid", wanted.guid, "Likewise");
        },
        &add);
    tree.add<Login>(
        {"account remove",
         "Remove an account with all that belongs to it",
         "ssoctl account remove kim@user.example",
         {}},
        [](CLI::App& app, Login& which) {
            app.add_option("LOGIN", which.loginId, "What the user signs in with")->required();
        },
        &remove);
    tree.add({"account list", "List the accounts", "ssoctl account list", {}}, &list);
    tree.add<Login>(
        {"sign-in",
         "Sign a user in, as if the login page had been gone through",
         "ssoctl sign-in kim@user.example",
         {}},
        [](CLI::App& app, Login& which) {
            app.add_option("LOGIN", which.loginId, "Who; without, the first");
        },
        &signIn);
    tree.add({"sign-out", "Sign the user out", "ssoctl sign-out", {}}, &signOut);
}

}  // namespace service::account_verbs
