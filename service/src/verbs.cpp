#include "verbs.h"

namespace service {

VerbResult runVerb(State& state, States& /*states*/, const std::vector<std::string>& words,
                   const std::string& /*input*/) {
    if (words == std::vector<std::string>{"sign-out"}) {
        state.change("session", [](account::Account& account) {
            account.signOut();
            return 0;
        });
        return {kVerbDone, "{}", ""};
    }
    return {kVerbUnknown, "", "no such verb"};
}

}  // namespace service
