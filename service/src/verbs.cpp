#include "verbs.h"

#include <exception>

#include "account/account_file.h"

namespace service {

VerbResult runVerb(State& state, States& /*states*/, const std::vector<std::string>& words,
                   const std::string& input) {
    if (words == std::vector<std::string>{"sign-out"}) {
        state.change("session", [](account::Account& account) {
            account.signOut();
            return 0;
        });
        return {kVerbDone, "{}", ""};
    }
    if (words == std::vector<std::string>{"state", "load", "-"}) {
        try {
            const account::Description read = account::parseAccountFile(input, "account");
            state.administer("state",
                             [&](account::Description& description) { description = read; });
            return {kVerbDone, "{}", ""};
        } catch (const std::exception& error) {
            return {kVerbRefused, "", error.what()};
        }
    }
    return {kVerbUnknown, "", "no such verb"};
}

}  // namespace service
