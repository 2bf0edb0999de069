#ifndef DOCS_PROTOCOL_REFERENCE_H_
#define DOCS_PROTOCOL_REFERENCE_H_

#include <string>
#include <vector>

#include "host/value.h"
#include "protocol_data.h"

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

/// The lines of a table, as they stand there.
struct Table {
    std::string head;  ///< the line with the titles of the columns
    std::vector<std::string> rows;
};

/// What stands between the bars of a table's line.
std::vector<std::string> cellsOf(const std::string& line);

struct ProtocolReference {
    std::vector<Example> examples;
    std::vector<Table> tables;
    std::vector<std::string> anchors;  ///< of its headings
    std::vector<std::string> links;    ///< to anchors, without the "#"
};

/// @throws std::runtime_error  for a block that is no example, with its line.
ProtocolReference readProtocolReference(const std::string& path);

}  // namespace docs

#endif
