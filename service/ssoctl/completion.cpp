// Completion for bash, made from the verbs as the service tells them.

#include <array>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "verb.h"

namespace ssoctl {
namespace {

constexpr const char* kStart = R"(# bash completion for ssoctl:  source <(ssoctl completion bash)
_ssoctl() {
    local -A words=(
)";

// After a verb's argument come its options only.
constexpr const char* kEnd = R"(    )
    local verb="ssoctl " next only="" i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        next="$verb${COMP_WORDS[i]} "
        case ${COMP_WORDS[i]} in
            --state) ((++i)) ;;
            -*) ;;
            *) if [[ ! $only && ${words[$next]} ]]; then verb=$next; else only='!-*'; fi ;;
        esac
    done
    ((i == COMP_CWORD)) || return  # a state's name
    mapfile -t COMPREPLY < <(compgen -W "${words[$verb]}" -X "$only" -- "${COMP_WORDS[i]}")
}
complete -o default -F _ssoctl ssoctl
)";

constexpr std::array<const char*, 3> kEverywhere = {"--help", "--json", "--state"};

}  // namespace

void printCompletion(Session& session) {
    // What may follow the words so far.
    std::map<std::string, std::set<std::string>> next;
    const Json verbs = Json::parse(session.remote.run({"verbs"}, "").output);
    for (const Json& verb : verbs) {
        std::string before = "ssoctl ";
        std::istringstream words(verb.at("verb").get<std::string>());
        for (std::string word; words >> word; before += word + " ") next[before].insert(word);
        for (const char* more : {"options", "values"}) {
            for (const Json& word : verb.at(more)) next[before].insert(word.get<std::string>());
        }
    }
    std::fputs(kStart, stdout);
    for (auto& [before, words] : next) {
        words.insert(kEverywhere.begin(), kEverywhere.end());
        std::printf("        [\"%s\"]=\"", before.c_str());
        const char* separator = "";
        for (const std::string& word : words) {
            std::printf("%s%s", separator, word.c_str());
            separator = " ";
        }
        std::puts("\"");
    }
    std::fputs(kEnd, stdout);
}

}  // namespace ssoctl
