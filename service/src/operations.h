#ifndef SERVICE_OPERATIONS_H_
#define SERVICE_OPERATIONS_H_

#include <string>
#include <vector>

#include "account/behaviour.h"

namespace service {

/// A command of the plug-in, and what it asks of the account service.
struct CommandOperations {
    std::string command;                         ///< as the protocol names it
    std::string shortName;                       ///< for people: the typed client's method
    std::vector<account::Operation> operations;  ///< none: it asks for nothing
};

/// Those of all commands.
const std::vector<CommandOperations>& commandOperations();

/// The operations that a word means: a command's name, also without "sso_plugin_", or its short name; a function
/// of sso_api.h; "all".
///
/// @throws Refused  when it means none.
std::vector<account::Operation> operationsFrom(const std::string& word);

}  // namespace service

#endif
