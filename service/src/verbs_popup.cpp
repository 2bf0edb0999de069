// Verbs about popups: those that are open, and the next ones.

#include "popup_names.h"
#include "verb_input.h"
#include "verb_tree.h"

namespace service::popup_verbs {
namespace {

using account::PopupState;

struct Which {
    std::string kind;
};

struct Fields {
    std::string kind;
    std::vector<std::string> fields;
    bool hasPassword = false;
    bool submit = false;
};

Json list(VerbRun& run) {
    Json all = Json::array();
    for (const auto& [id, popup] : run.state.popups()) {
        Json json = {{"popup", id}, {"kind", nameOf(popup.kind)}};
        if (popup.kind == PopupKind::Terms) {
            json["termsId"] = popup.termsId;
            json["callerId"] = popup.callerId;
        } else {
            json["page"] = popup.page;
        }
        json["hasWindow"] = !popup.agent.empty();
        all.push_back(std::move(json));
    }
    return all;
}

/// The newest that is open, of that kind or of any; null when there is none.
const OpenPopup* newest(State& state, const std::string& kind) {
    const OpenPopup* found = nullptr;
    for (const auto& [id, popup] : state.popups()) {
        if (kind.empty() || nameOf(popup.kind) == kind) found = &popup;
    }
    return found;
}

Json end(VerbRun& run, const std::string& kind, PopupState state) {
    if (const OpenPopup* popup = newest(run.state, kind)) {
        const std::uint64_t id = popup->id;
        Json json = {{"popup", id}, {"kind", nameOf(popup->kind)}, {"state", nameOf(state)}};
        run.state.endPopup(id, state);
        return json;
    }
    if (kind.empty()) {
        throw Refused("no popup is open; name the kind of the next: login, createAccount or terms");
    }
    run.state.setNextPopup(*popupKindNamed(kind), state);
    return {{"next", kind}, {"state", nameOf(state)}};
}

Json fill(VerbRun& run, const Fields& wanted) {
    std::map<std::string, std::string> fields;
    for (const std::string& field : wanted.fields) {
        const std::size_t equals = field.find('=');
        if (equals == 0 || equals == std::string::npos) {
            throw Refused("a field must be NAME=TEXT, such as loginId=kim@user.example");
        }
        const std::string name = field.substr(0, equals);
        if (name != "loginId" && name != "displayName") {
            throw Refused("there is no field " + name +
                          " but loginId and displayName; a password " +
                          "comes with --password-stdin, so that it is in no list of processes");
        }
        fields[name] = field.substr(equals + 1);
    }
    if (wanted.hasPassword) {
        fields["password"] = passwordFrom(run.input);
        fields["repeated"] = fields["password"];
    }
    const OpenPopup* popup = newest(run.state, wanted.kind);
    if (popup == nullptr) throw Refused("no such popup is open");
    if (popup->agent.empty()) {
        throw Refused("the popup has no window; sso-browser shows windows");
    }
    run.state.fillPopup(popup->id, fields, wanted.submit);
    return {{"popup", popup->id}, {"kind", nameOf(popup->kind)}, {"submitted", wanted.submit}};
}

CLI::Option* declareKind(CLI::App& app, const char* name, std::string& kind, const char* about) {
    return app.add_option(name, kind, about)
        ->check(CLI::IsMember({"login", "createAccount", "terms"}));
}

void addEnd(VerbTree& tree, const char* words, const char* about, const char* example,
            PopupState state) {
    tree.add<Which>(
        {words, about, example, {"login", "createAccount", "terms"}},
        [](CLI::App& app, Which& which) {
            declareKind(app, "KIND", which.kind,
                        "The newest of this kind, or when none is open, the next; without, the "
                        "newest that is open");
        },
        [state](VerbRun& run, const Which& which) { return end(run, which.kind, state); });
}

}  // namespace

void declare(VerbTree& tree) {
    tree.group("popup", "Popups, which applications ask for");
    tree.add({"popup list", "List those that are open", "ssoctl popup list", {}}, &list);
    addEnd(tree, "popup complete", "Let one end as if the user had gone through it",
           "ssoctl popup complete login", PopupState::Completed);
    addEnd(tree, "popup close", "Let one end as if the user had closed it",
           "ssoctl popup close terms", PopupState::Closed);
    addEnd(tree, "popup fail", "Let one end as if it could not be shown",
           "ssoctl popup fail createAccount", PopupState::Failed);
    addEnd(tree, "popup cancel", "Let one end as if it had been taken away",
           "ssoctl popup cancel login", PopupState::Cancelled);
    tree.add<Fields>(
        {"popup fill",
         "Type into the window of one that is open",
         "echo kim-password | ssoctl popup fill loginId=kim@user.example --password-stdin "
         "--submit",
         {}},
        [](CLI::App& app, Fields& wanted) {
            app.add_option("FIELDS", wanted.fields, "NAME=TEXT: loginId, displayName");
            declareKind(app, "--kind", wanted.kind, "Of which kind; without, the newest");
            app.add_flag("--password-stdin", wanted.hasPassword,
                         "The password is the first line of standard input");
            app.add_flag("--submit", wanted.submit, "Press the button, too");
        },
        &fill);
}

}  // namespace service::popup_verbs
