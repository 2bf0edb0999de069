#ifndef DOCS_DOCUMENT_H_
#define DOCS_DOCUMENT_H_

#include <string>
#include <utility>
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

/// The first text in a cell that is set as code, "" without one.
std::string codeOf(const std::string& cell);

/// What stands between the bars of a table's line.
std::vector<std::string> cellsOf(const std::string& line);

/// A block of code, other than an example.
struct Block {
    std::string language;
    std::string text;
};

/// The commands of a block as a terminal shows them, each with what it prints.
std::vector<std::pair<std::string, std::string>> commandsOf(const Block& block);

struct Document {
    std::vector<Example> examples;
    std::vector<Block> blocks;
    std::vector<Table> tables;
    std::vector<std::string> anchors;  ///< of its headings
    std::vector<std::string> links;    ///< to anchors, without the "#"
};

/// @param head  what its first line begins with.
/// @throws std::runtime_error  when there is none.
const Table& tableOf(const Document& document, const std::string& head);

/// @throws std::runtime_error  for a JSON block that is no example, with its line.
Document readDocument(const std::string& path);

}  // namespace docs

#endif
