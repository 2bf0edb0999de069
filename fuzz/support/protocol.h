#ifndef FUZZ_SUPPORT_PROTOCOL_H_
#define FUZZ_SUPPORT_PROTOCOL_H_

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/value.h"

namespace fuzz {

/// The message protocol as protocol/protocol.json has it: what a message has to be answered.
class Protocol {
  public:
    struct Key {
        std::string name;
        bool isRequired;
        std::string example;
        std::string errorMessage;  ///< empty: as the path's error says
    };
    struct Command {
        std::string name;
        bool isBlocking;
        std::string privilege;  ///< short: "sso.partner"
        std::vector<Key> keys;
        std::string answerKey;
        bool isText;  ///< the outcome
        std::string notStarted;
    };

    /// The one of this tree.
    static const Protocol& instance();

    const std::vector<Command>& commands() const { return m_commands; }
    const std::string& unregistered() const { return m_unregistered; }

    /// The command that a message names, whatever else is in it; null for none.
    const Command* commandOf(const host::Value& message) const;

    /// The answer that refuses a message. Nothing when it is to be carried out.
    ///
    /// @param privileges  short names of those that the page has.
    std::optional<host::Value> refusal(bool isBlocking, const host::Value& message,
                                       const std::set<std::string>& privileges) const;
    /// The answer when the client library did not start it.
    host::Value notStarted(const Command& command) const;
    /// @param outcome  null: the answer lacks it.
    host::Value done(const Command& command, const host::Value& outcome) const;
    /// A message that is carried out.
    host::Value example(const Command& command) const;

  private:
    struct Error {
        std::int32_t number;
        std::string name;
        std::string message;
        bool namesCommand;
    };

    Protocol();
    host::Value error(bool isBlocking, const std::string& kind, const std::string& command,
                      const std::string& message = "") const;

    std::vector<Command> m_commands;
    std::map<std::string, Error> m_errors[2];  ///< by kind; of the asynchronous path first
    std::string m_unregistered;
};

}  // namespace fuzz

#endif
