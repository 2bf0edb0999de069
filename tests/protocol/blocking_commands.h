#ifndef PROTOCOL_BLOCKING_COMMANDS_H_
#define PROTOCOL_BLOCKING_COMMANDS_H_

#include <map>
#include <string>

#include "expected_calls.h"

namespace protocol {

/// The line of the log line with the name of each blocking command of the protocol.
inline const std::map<std::string, int> kBlockingLines = {
    {"sso_plugin_getVersion", 310},  {"sso_plugin_getSSOState", 315},
    {"sso_plugin_getGuid", 324},     {"sso_plugin_getLoginStatus", 332},
    {"sso_plugin_getLoginUid", 341}, {"sso_plugin_getTermsAgreementState", 349},
};

/// A blocking request up to where its command begins.
inline EventMatchers askedFor(const std::string& command) {
    return askedFor(command, kBlockingLines.at(command));
}

}  // namespace protocol

#endif
