#ifndef SERVICE_VERB_INPUT_H_
#define SERVICE_VERB_INPUT_H_

#include <CLI/CLI.hpp>
#include <chrono>
#include <string>

#include "state.h"

namespace service {

/// A secret that a verb has got as its input: the first line of it.
///
/// @throws Refused  when that is empty.
std::string passwordFrom(const std::string& input);

/// For arguments that are a loginId, a uid, or the id of something.
CLI::Validator isIdentifier();

/// A time such as "90", "500ms", "10s", "30m", "24h", "2d".
///
/// @param bare  what one without a unit is counted in; null: it must have one.
/// @throws Refused  when it is none, or longer than a hundred years.
std::chrono::milliseconds durationFrom(const std::string& text, const char* bare);

/// The user whose things a verb is about.
///
/// @param loginId  "" for who is signed in.
/// @throws Refused  when there is none.
const account::Profile& profileOf(State& state, const std::string& loginId);

/// That profile in a description of the same state.
account::Profile& profileIn(account::Description& description, const std::string& loginId);

}  // namespace service

#endif
