#ifndef SSOCTL_VERB_H_
#define SSOCTL_VERB_H_

#include <string>
#include <vector>

#include "remote.h"

namespace ssoctl {

/// What all verbs of one run of the program have in common.
struct Session {
    Remote& remote;
    const bool json;
};

/// Does one verb, also those that the service leaves to this program, and prints what it gives.
///
/// @param input  what it reads; null: standard input.
/// @throws Failure
void doVerb(Session& session, const std::vector<std::string>& words, const std::string* input);

/// @param file  - is standard input. @throws Failure
std::string readInput(const std::string& file);

// Those that this program does, with their arguments as the service has understood them.
void runScenario(Session& session, const Json& arguments);
void watch(Session& session, const Json& arguments);
void waitFor(Session& session, const Json& arguments);
void printCompletion(Session& session);

}  // namespace ssoctl

#endif
