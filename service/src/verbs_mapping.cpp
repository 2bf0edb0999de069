// Verbs about the partners' users that an account is mapped to.

#include "verb_input.h"
#include "verb_tree.h"

namespace service::mapping_verbs {
namespace {

using account::Description;
using account::Mapping;

struct Which {
    Mapping mapping;
    std::string loginId;
};

Json list(VerbRun& run, const Which& which) {
    Json all = Json::array();
    for (const Mapping& mapping : profileOf(run.state, which.loginId).mappings.all()) {
        all.push_back(
            {{"appID", mapping.appId}, {"cpName", mapping.cpName}, {"cpUID", mapping.cpUid}});
    }
    return all;
}

Json add(VerbRun& run, const Which& which) {
    const account::Profile& profile = profileOf(run.state, which.loginId);
    if (profile.mappings.contains(which.mapping)) throw Refused("the mapping is there already");
    const std::string loginId = profile.identity.loginId;
    run.state.administer("mappings", [&](Description& description) {
        profileIn(description, loginId).mappings.add(which.mapping);
    });
    return {{"loginId", loginId},
            {"appID", which.mapping.appId},
            {"cpName", which.mapping.cpName},
            {"cpUID", which.mapping.cpUid}};
}

Json remove(VerbRun& run, const Which& which) {
    const account::Profile& profile = profileOf(run.state, which.loginId);
    if (!profile.mappings.contains(which.mapping)) throw Refused("there is no such mapping");
    const std::string loginId = profile.identity.loginId;
    const std::size_t before = profile.mappings.all().size();
    run.state.administer("mappings", [&](Description& description) {
        profileIn(description, loginId).mappings.remove(which.mapping);
    });
    const std::size_t left = profileOf(run.state, loginId).mappings.all().size();
    return {{"loginId", loginId}, {"removed", before - left}};
}

void declareAccount(CLI::App& app, Which& which) {
    app.add_option("--account", which.loginId, "Whose; without, of who is signed in")
        ->type_name("LOGIN");
}

void declareMapping(CLI::App& app, Which& which) {
    app.add_option("APP", which.mapping.appId, "The application")
        ->required()
        ->check(isIdentifier());
    app.add_option("PARTNER", which.mapping.cpName, "The partner")
        ->required()
        ->check(isIdentifier());
    declareAccount(app, which);
}

}  // namespace

void declare(VerbTree& tree) {
    tree.group("mapping", "Partners' users that an account is mapped to");
    tree.add<Which>({"mapping list", "List the mappings", "ssoctl mapping list", {}},
                    &declareAccount, &list);
    tree.add<Which>(
        {"mapping add", "Add a mapping", "ssoctl mapping add demo-app demo-partner user-9", {}},
        [](CLI::App& app, Which& which) {
            declareMapping(app, which);
            app.add_option("USER", which.mapping.cpUid, "The partner's name for the user")
                ->required()
                ->check(isIdentifier());
        },
        &add);
    tree.add<Which>(
        {"mapping remove",
         "Remove a mapping, or all of an application's with a partner",
         "ssoctl mapping remove demo-app demo-partner user-0",
         {}},
        [](CLI::App& app, Which& which) {
            declareMapping(app, which);
            app.add_option("USER", which.mapping.cpUid,
                           "The partner's name for the user; without, all of them");
        },
        &remove);
}

}  // namespace service::mapping_verbs
