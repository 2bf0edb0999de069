#ifndef DOCS_PROTOCOL_REFERENCE_H_
#define DOCS_PROTOCOL_REFERENCE_H_

#include <string>
#include <vector>

#include "commands.h"
#include "host/value.h"

namespace docs {

/// A request with its answer, as the reference shows them:
///
///   ```json request async account=signed-out privileges=partner,public
///   { "command": "sso_plugin_createAccount" }
///   ```
///   ```json answer
///   { ... }
///   ```
///
/// A blocking one has "blocking" and "reply".
struct Example {
    int line = 0;  ///< of the request's first fence
    contract::Path path = contract::Path::Async;
    std::string account = "signed-in";                   ///< a file of account/examples
    std::string privileges = "partner,platform,public";  ///< granted to the application
    host::Value request;
    host::Value answer;
};

/// A row of the table of commands.
struct CommandRow {
    std::string name;
    std::string sent;       ///< "asynchronous" or "blocking"
    std::string privilege;  ///< "sso.partner"
};

struct ProtocolReference {
    std::vector<Example> examples;
    std::vector<CommandRow> commands;
    std::vector<std::string> anchors;  ///< of its headings
    std::vector<std::string> links;    ///< to anchors, without the "#"
};

/// @throws std::runtime_error  for a block that is no example, with its line.
ProtocolReference readProtocolReference(const std::string& path);

}  // namespace docs

#endif
