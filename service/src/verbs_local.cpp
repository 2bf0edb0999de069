// Verbs that ssoctl does itself, with a terminal, files and time that the service does not have. What they give
// here is what is to be done: their arguments, understood.

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "verb_input.h"
#include "verb_tree.h"

namespace service::local_verbs {
namespace {

struct Nothing {};

struct Scenario {
    std::string file;
};

struct Watch {
    int count = 0;
    std::string time;
};

struct Wait {
    std::string time;
};

struct WaitFor {
    std::string event;
    std::vector<std::string> members;
    std::string within = "30s";
};

std::int64_t msOf(const std::string& time) { return durationFrom(time, nullptr).count(); }

Json watch(VerbRun& /*run*/, const Watch& wanted) {
    return {{"count", wanted.count},
            {"forMs", wanted.time.empty() ? Json() : Json(msOf(wanted.time))}};
}

/// What an event tells, as State::tell gets it.
const std::map<std::string, std::vector<std::string>>& membersOfEvents() {
    static const std::map<std::string, std::vector<std::string>> members = {
        {"changed", {"what"}},
        {"operation", {"operation", "result", "ms"}},
        {"popup", {"popup", "kind", "is", "state"}}};
    return members;
}

/// Whoever waits for what no event has waits in vain.
void requireMember(const std::string& event, const std::string& name) {
    const std::vector<std::string>& known = membersOfEvents().at(event);
    if (std::find(known.begin(), known.end(), name) != known.end()) return;
    std::string names;
    for (const std::string& one : known) names += (names.empty() ? "" : ", ") + one;
    throw Refused("the event " + event + " has no member " + name + "; it has " + names);
}

Json waitFor(VerbRun& /*run*/, const WaitFor& wanted) {
    Json members = {{"event", wanted.event}};
    for (const std::string& member : wanted.members) {
        const std::size_t equals = member.find('=');
        if (equals == 0 || equals == std::string::npos) {
            throw Refused("a member must be NAME=VALUE, such as kind=login");
        }
        requireMember(wanted.event, member.substr(0, equals));
        members[member.substr(0, equals)] = member.substr(equals + 1);
    }
    return {{"members", members}, {"withinMs", msOf(wanted.within)}};
}

void addWaits(VerbTree& tree) {
    tree.add<Wait>(
        {"wait", "Do nothing for a time", "ssoctl wait 10ms", {}},
        [](CLI::App& app, Wait& wanted) {
            app.add_option("TIME", wanted.time, "Such as 500ms or 2s")->required();
        },
        [](VerbRun& /*run*/, const Wait& wanted) -> Json {
            return {{"ms", msOf(wanted.time)}};
        });
    tree.add<WaitFor>(
        {"wait-for",
         "Wait for an event; in a scenario, one that came after the last that was waited for will "
         "do",
         "(sleep 0.2; ssoctl sign-out) & ssoctl wait-for changed what=session --within 10s",
         {"changed", "operation", "popup"}},
        [](CLI::App& app, WaitFor& wanted) {
            app.add_option("EVENT", wanted.event, "changed, operation or popup")
                ->required()
                ->check(CLI::IsMember(membersOfEvents()));
            app.add_option("MEMBERS", wanted.members, "NAME=VALUE of it, as watch shows them");
            app.add_option("--within", wanted.within, "How long at most")
                ->type_name("TIME")
                ->capture_default_str();
        },
        &waitFor);
}

}  // namespace

void declare(VerbTree& tree) {
    tree.add<Scenario>(
        {"run",
         "Run a scenario: one verb a line, # begins a comment",
         "printf 'sign-out\\nwait 10ms\\nsign-in\\n' | ssoctl run -",
         {}},
        [](CLI::App& app, Scenario& wanted) {
            app.add_option("SCENARIO", wanted.file, "The file; - is standard input")->required();
        },
        [](VerbRun& /*run*/, const Scenario& wanted) -> Json {
            return {{"file", wanted.file}};
        });
    tree.add<Watch>(
        {"watch", "Show changes and operations as they happen", "ssoctl watch --for 10ms", {}},
        [](CLI::App& app, Watch& wanted) {
            app.add_option("--count", wanted.count, "End after so many")
                ->type_name("N")
                ->check(CLI::PositiveNumber);
            app.add_option("--for", wanted.time, "End after this time, such as 10s")
                ->type_name("TIME");
        },
        &watch);
    addWaits(tree);
    const auto nothing = [](VerbRun& /*run*/) { return Json::object(); };
    tree.add({"doctor", "Tell what runs, where, and what is wrong", "ssoctl doctor", {}}, nothing);
    tree.group("completion", "Completion for shells");
    tree.add({"completion bash",
              "Print a script for bash that completes verbs",
              "ssoctl completion bash",
              {}},
             nothing);
}

}  // namespace service::local_verbs
