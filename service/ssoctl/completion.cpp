// Completion for bash, made from the verbs as the service tells them.

#include <cstdio>
#include <map>
#include <set>

#include "verb.h"

namespace ssoctl {
namespace {

constexpr const char* kStart = R"(# bash completion for ssoctl:  source <(ssoctl completion bash)
_ssoctl() {
    local current=${COMP_WORDS[COMP_CWORD]} before="" words="" i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
            --state) ((++i)) ;;
            -*) ;;
            *) before+="${COMP_WORDS[i]} " ;;
        esac
    done
    case $before in
)";

constexpr const char* kEnd = R"(    esac
    mapfile -t COMPREPLY < <(compgen -W "$words --help --json --state" -- "$current")
}
complete -o default -F _ssoctl ssoctl
)";

}  // namespace

void printCompletion(Session& session) {
    // What may follow the words so far.
    std::map<std::string, std::set<std::string>> next;
    const Json verbs = Json::parse(session.remote.run({"verbs"}, "").output);
    for (const Json& verb : verbs) {
        std::string before;
        std::string words = verb.at("verb").get<std::string>() + " ";
        for (std::size_t space = 0; (space = words.find(' ')) != std::string::npos;) {
            next[before].insert(words.substr(0, space));
            before += words.substr(0, space + 1);
            words.erase(0, space + 1);
        }
        for (const char* more : {"options", "values"}) {
            for (const Json& word : verb.at(more)) next[before].insert(word.get<std::string>());
        }
    }
    std::fputs(kStart, stdout);
    for (const auto& [before, words] : next) {
        std::printf("        \"%s\") words=\"", before.c_str());
        const char* separator = "";
        for (const std::string& word : words) {
            std::printf("%s%s", separator, word.c_str());
            separator = " ";
        }
        std::puts("\" ;;");
    }
    std::fputs(kEnd, stdout);
}

}  // namespace ssoctl
