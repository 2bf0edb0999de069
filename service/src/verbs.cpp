#include "verbs.h"

#include "verb_tree.h"

namespace service {

VerbResult runVerb(State& state, States& states, const std::vector<std::string>& words,
                   const std::string& input) {
    VerbRun run{state, states, input};
    VerbTree tree;
    state_verbs::declare(tree);
    account_verbs::declare(tree);
    client_verbs::declare(tree);
    terms_verbs::declare(tree);
    mapping_verbs::declare(tree);
    popup_verbs::declare(tree);
    order_verbs::declare(tree);
    clock_verbs::declare(tree);
    local_verbs::declare(tree);
    tree.add({"verbs", "Tell all verbs, for programs", "ssoctl verbs --json", {}},
             [&tree](VerbRun& /*run*/) { return tree.describe(); });
    return tree.run(words, run);
}

}  // namespace service
