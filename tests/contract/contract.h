#ifndef CONTRACT_CONTRACT_H_
#define CONTRACT_CONTRACT_H_

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "protocol_data.h"

/// What a page may send and what it gets, on any host: what follows from protocol/protocol.json, and
/// the rows of protocol/contract.json.
namespace contract {

/// One request and the one answer that it has.
struct Row {
    std::string title;
    Path path = Path::Async;
    nlohmann::json request;  ///< with `javaScript`: typed JSON of the native host
    std::string javaScript;  ///< an expression that gives it, when JSON has no words for it
    nlohmann::json answer;   ///< the whole of it, there are no further members
    bool asksNothing;        ///< the device's account service does not learn of it
};

/// Where requests are made.
struct Setting {
    std::vector<std::string> privileges;  ///< that the application holds, in the protocol's order
    std::string account;                  ///< the path of an account file; empty for none

    bool operator==(const Setting& other) const {
        return privileges == other.privileges && account == other.account;
    }
};

/// Requests that one page makes, one after the other.
struct Visit {
    Setting setting;
    std::vector<Row> rows;
};

/// For a test's name: "WithPartnerPublic", "SignedInWithPartner", "WithoutPrivileges".
std::string nameOf(const Setting& setting);

/// The whole contract: one visit for each setting.
///
/// @param path  of contract.json.
/// @throws std::runtime_error  for a mistake in the data, with its place.
std::vector<Visit> readContract(const std::string& path = dataFile("contract.json"),
                                const Protocol& protocol = contract::protocol());

/// readContract(), or nothing when the data has a mistake: for the lists of tests, which are made
/// before a test can fail. A test of the data tells the mistake.
std::vector<Visit> contractOrNothing();

}  // namespace contract

#endif
