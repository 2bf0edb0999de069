#ifndef SERVICE_STATE_DOCUMENT_H_
#define SERVICE_STATE_DOCUMENT_H_

#include <chrono>
#include <string>

#include "account/account.h"
#include "orders.h"
#include "state.h"

namespace service {

/// All that is kept of a state, as a file has it: an object with "device", which is an account file,
/// "orders" and "clockAdvancedMs".
struct StateDocument {
    account::Description device;
    Orders orders;
    std::chrono::milliseconds clock{0};
};

/// @param json  a state, or an account file alone.
/// @param name  what to call it in an error.
/// @throws account::AccountFileError, or Refused, when it is neither.
StateDocument parseState(const std::string& json, const std::string& name);

StateDocument documentOf(State& state);
Json asJson(const StateDocument& document);

}  // namespace service

#endif
