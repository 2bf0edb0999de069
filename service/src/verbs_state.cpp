// Verbs about the state as a whole, and about all states.

#include <algorithm>

#include "popup_names.h"
#include "service/state_name.h"
#include "state_document.h"
#include "state_texts.h"
#include "verb_tree.h"

namespace service::state_verbs {
namespace {

struct Name {
    std::string name;
};

void replace(State& state, StateDocument document) {
    state.replace(std::move(document.device), std::move(document.orders), document.clock);
}

Json status(VerbRun& run) {
    State& state = run.state;
    const account::Account& account = state.account();
    const account::Description& description = account.description();
    Json terms = Json::object();
    for (const auto& [id, document] : description.terms) {
        terms[id] = account.isAgreed(id).value ? "agreed" : "notAgreed";
    }
    Json next = Json::object();
    for (const auto& [kind, popup] : state.nextPopups()) next[nameOf(kind)] = nameOf(popup);
    const account::Profile* current = account.current();
    return {{"state", state.name()},
            {"signedIn", current != nullptr ? Json(current->identity.loginId) : Json()},
            {"accounts", description.profiles.size()},
            {"clients", description.clients.size()},
            {"mappings", current != nullptr ? current->mappings.all().size() : 0},
            {"tokens", current != nullptr ? current->tokens.size() : 0},
            {"terms", terms},
            {"orders", Json::parse(state.orders().asJson())},
            {"openPopups", state.popups().size()},
            {"nextPopups", next},
            {"clockAdvancedMs", state.clockOffset().count()},
            {"service", SSO_VERSION}};
}

bool isThere(States& states, const std::string& name) {
    const auto names = states.names();
    return std::find(names.begin(), names.end(), name) != names.end();
}

Json save(VerbRun& run, const Name& to) {
    const StateDocument document = documentOf(run.state);
    if (to.name.empty()) return asJson(document);
    if (to.name == run.state.name()) throw Refused("that is this state's own name");
    replace(run.states.get(to.name), document);
    return {{"saved", to.name}};
}

Json load(VerbRun& run, const Name& from) {
    if (from.name.empty()) {
        if (run.input.empty()) throw Refused("name a state or a file; - is standard input");
        replace(run.state, parseState(run.input, "the state"));
        return {{"loaded", run.state.name()}};
    }
    if (!isThere(run.states, from.name)) {
        throw Refused("there is no state " + from.name +
                      "; a file has a / in its name or ends in "
                      ".json");
    }
    replace(run.state, documentOf(run.states.get(from.name)));
    return {{"loaded", from.name}};
}

Json list(VerbRun& run) {
    Json all = Json::array();
    for (const std::string& name : run.states.names()) {
        all.push_back({{"name", name}, {"current", name == run.state.name()}});
    }
    return all;
}

Json remove(VerbRun& run, const Name& which) {
    if (!isThere(run.states, which.name) || !run.states.remove(which.name)) {
        throw Refused("there is no state " + which.name);
    }
    return Json::object();
}

Json listPresets(VerbRun& /*run*/) {
    Json all = Json::array();
    for (const auto& [name, text] : kPresetTexts) {
        all.push_back({{"name", name}, {"about", Json::parse(text).value("about", "")}});
    }
    return all;
}

std::vector<std::string> presetNames() {
    std::vector<std::string> names;
    for (const auto& [name, text] : kPresetTexts) names.emplace_back(name);
    return names;
}

Json usePreset(VerbRun& run, const Name& which) {
    for (const auto& [name, text] : kPresetTexts) {
        if (which.name != name) continue;
        replace(run.state, parseState(text, which.name));
        return {{"preset", name}};
    }
    throw Refused("there is no preset of that name; ssoctl preset list tells them");
}

CLI::Validator isName() {
    return CLI::Validator(
        [](const std::string& text) {
            return isStateName(text) ? std::string()
                                     : std::string("a state's name ") + kStateNameRule;
        },
        "");
}

}  // namespace

void declare(VerbTree& tree) {
    tree.add({"status", "Tell the state in short", "ssoctl status", {}}, &status);
    tree.group("state", "Whole states; --state says which one all other verbs are about");
    tree.add<Name>(
        {"state save",
         "Save the state under another name, or in a file: FILE has a / or ends in .json",
         "ssoctl state save before-the-test",
         {}},
        [](CLI::App& app, Name& to) {
            app.add_option("NAME-or-FILE", to.name, "Where; - and nothing are standard output")
                ->check(isName());
        },
        &save);
    tree.add<Name>(
        {"state load",
         "Let the state be as another, or as a file says, which may be an account file",
         "ssoctl state load account/examples/signed-in.json",
         {}},
        [](CLI::App& app, Name& from) {
            app.add_option("NAME-or-FILE", from.name, "Which; - is standard input")
                ->check(isName());
        },
        &load);
    tree.add({"state list", "List the states", "ssoctl state list", {}}, &list);
    tree.add<Name>(
        {"state remove",
         "Remove a state with all that is in it",
         "ssoctl state remove default",
         {}},
        [](CLI::App& app, Name& which) {
            app.add_option("NAME", which.name, "Which")->required()->check(isName());
        },
        &remove);
    tree.group("preset", "States to begin with");
    tree.add({"preset list", "List the presets", "ssoctl preset list", {}}, &listPresets);
    tree.add<Name>(
        {"preset use", "Let the state be as a preset", "ssoctl preset use signed-in",
         presetNames()},
        [](CLI::App& app, Name& which) {
            app.add_option("NAME", which.name, "Of the preset")->required();
        },
        &usePreset);
}

}  // namespace service::state_verbs
