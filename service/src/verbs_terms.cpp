// Verbs about terms and who has agreed to them.

#include "verb_input.h"
#include "verb_tree.h"

namespace service::terms_verbs {
namespace {

using account::Description;

struct NewTerms {
    std::string id;
    std::string version = "1";
    std::string title;
    bool hasText = false;
};

struct Agreement {
    std::string id;
    std::string loginId;
};

Json list(VerbRun& run) {
    const account::Account& account = run.state.account();
    const account::Profile* profile = account.current();
    Json all = Json::array();
    for (const auto& [id, document] : account.description().terms) {
        Json json = {{"id", id}, {"version", document.version}, {"title", document.title}};
        json["agreedVersion"] = Json();
        json["agreed"] = account.isAgreed(id).value;
        if (profile != nullptr && profile->agreements.count(id) != 0) {
            json["agreedVersion"] = profile->agreements.at(id);
        }
        all.push_back(std::move(json));
    }
    return all;
}

Json add(VerbRun& run, const NewTerms& wanted) {
    run.state.administer("terms", [&](Description& description) {
        account::TermsDocument& document = description.terms[wanted.id];
        document.version = wanted.version;
        if (!wanted.title.empty()) document.title = wanted.title;
        if (wanted.hasText) document.text = run.input;
    });
    return {{"id", wanted.id}, {"version", wanted.version}};
}

const account::TermsDocument& documentOf(State& state, const std::string& id) {
    const auto& terms = state.account().description().terms;
    const auto found = terms.find(id);
    if (found == terms.end()) throw Refused("there are no terms " + id);
    return found->second;
}

Json accept(VerbRun& run, const Agreement& which) {
    const std::string version = documentOf(run.state, which.id).version;
    const std::string loginId = profileOf(run.state, which.loginId).identity.loginId;
    run.state.administer("terms", [&](Description& description) {
        profileIn(description, loginId).agreements[which.id] = version;
    });
    return {{"loginId", loginId}, {"id", which.id}, {"agreedVersion", version}};
}

Json reset(VerbRun& run, const Agreement& which) {
    documentOf(run.state, which.id);
    const std::string loginId = profileOf(run.state, which.loginId).identity.loginId;
    run.state.administer("terms", [&](Description& description) {
        profileIn(description, loginId).agreements.erase(which.id);
    });
    return {{"loginId", loginId}, {"id", which.id}, {"agreedVersion", Json()}};
}

void declareAgreement(CLI::App& app, Agreement& which) {
    app.add_option("ID", which.id, "Of the terms")->required();
    app.add_option("--account", which.loginId, "Who; without, who is signed in")
        ->type_name("LOGIN");
}

}  // namespace

void declare(VerbTree& tree) {
    tree.group("terms", "Terms that users can agree to");
    tree.add<NewTerms>(
        {"terms add",
         "Add terms, or another version of some: who agreed to the former has not to it",
         "ssoctl terms add terms-1 --version 2",
         {}},
        [](CLI::App& app, NewTerms& wanted) {
            app.add_option("ID", wanted.id, "What they are known by")
                ->required()
                ->check(isIdentifier());
            app.add_option("--version", wanted.version, "Of the terms")->capture_default_str();
            app.add_option("--title", wanted.title, "What their page is called");
            app.add_flag("--text-stdin", wanted.hasText, "Their text is standard input");
        },
        &add);
    tree.add<Agreement>(
        {"terms accept", "Let a user have agreed", "ssoctl terms accept terms-1", {}},
        &declareAgreement, &accept);
    tree.add<Agreement>(
        {"terms reset", "Let a user not have agreed", "ssoctl terms reset terms-1", {}},
        &declareAgreement, &reset);
    tree.add(
        {"terms list", "List the terms, and what the user has agreed to", "ssoctl terms list", {}},
        &list);
}

}  // namespace service::terms_verbs
