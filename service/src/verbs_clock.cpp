// Verbs about the state's clock.

#include "verb_input.h"
#include "verb_tree.h"

namespace service::clock_verbs {
namespace {

struct Time {
    std::string time;
};

Json show(VerbRun& run) {
    return {{"time", run.state.now()}, {"advancedMs", run.state.clockOffset().count()}};
}

Json advance(VerbRun& run, const Time& wanted) {
    const std::chrono::milliseconds before = run.state.clockOffset();
    const std::chrono::milliseconds offset = before + durationFrom(wanted.time, nullptr);
    if (offset > kLatestClock) {
        throw Refused("the clock must not be advanced by more than a hundred years in all");
    }
    run.state.setClockOffset(offset);
    return show(run);
}

Json reset(VerbRun& run) {
    run.state.setClockOffset(std::chrono::milliseconds(0));
    return show(run);
}

}  // namespace

void declare(VerbTree& tree) {
    tree.add(
        {"clock", "Tell the time of the state's clock, by which tokens expire", "ssoctl clock", {}},
        &show);
    tree.add<Time>(
        {"clock advance", "Advance it", "ssoctl clock advance 24h", {}},
        [](CLI::App& app, Time& wanted) {
            app.add_option("TIME", wanted.time, "By how much: 90s, 30m, 24h, 7d")->required();
        },
        &advance);
    tree.add({"clock reset", "Let it be this machine's again", "ssoctl clock reset", {}}, &reset);
}

}  // namespace service::clock_verbs
