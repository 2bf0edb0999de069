#ifndef EMBEDDER_PSEUDONYMS_H_
#define EMBEDDER_PSEUDONYMS_H_

#include <cstddef>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "embedder/commands.h"

namespace embedder {

/// Stand-ins such as "token-1" for all in a recording that may tell of a user: a text has the same one
/// wherever it is, another text has another one, and none can be told from its text. They are counted
/// in the order of their first use. One thread at a time.
///
/// What stays is what protocol/protocol.json has: keys, commands, errors, and the texts that are the same
/// for everybody; so do numbers in answers, and what is empty. All else goes, what no page should have sent
/// included: names of unknown keys and commands, numbers in requests, and the bytes of buffers, which
/// become 0. PartnerAccountInfo stays JSON, and the parts of getSSOState's text stay parts.
class Pseudonyms {
  public:
    /// A line of a MessageJournal, with "pseudonyms": true as its last member.
    std::string line(const std::string& line);

    /// What a page has sent, as JSON shows it.
    void replaceRequest(nlohmann::ordered_json& request);

    /// What the plug-in has sent.
    ///
    /// @param command  of the request; empty when there is none.
    void replaceAnswer(nlohmann::ordered_json& answer, const std::string& command);

  private:
    std::string of(const std::string& text, const std::string& kind);
    void replaceAll(nlohmann::ordered_json& value, const std::string& kind);
    void replaceOutcome(nlohmann::ordered_json& text, const Command& command);
    void replaceCommand(nlohmann::ordered_json& command);
    std::string parts(const std::string& text, const std::vector<std::string>& kinds);
    std::string inside(const std::string& text, const std::string& kind);

    std::map<std::string, std::string> m_texts;
    std::map<std::string, std::size_t> m_counts;   ///< of the stand-ins of a kind
    std::map<std::string, std::size_t> m_numbers;  ///< by their JSON
};

}  // namespace embedder

#endif
