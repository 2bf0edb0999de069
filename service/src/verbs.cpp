#include "verbs.h"

#include "verb_tree.h"

namespace service {

VerbResult runVerb(State& state, States& states, const std::vector<std::string>& words,
                   const std::string& input) {
    VerbRun run{state, states, input};
    VerbTree tree;
    addStateVerbs(tree);
    addAccountVerbs(tree);
    addClientVerbs(tree);
    addTermsVerbs(tree);
    addMappingVerbs(tree);
    addPopupVerbs(tree);
    addOrderVerbs(tree);
    addClockVerbs(tree);
    addLocalVerbs(tree);
    tree.add({"verbs", "Tell all verbs, for programs", "ssoctl verbs --json", {}},
             [&tree](VerbRun& /*run*/) { return tree.describe(); });
    return tree.run(words, run);
}

}  // namespace service
