#include "verb_tree.h"

#include <sstream>
#include <utility>

namespace service {
namespace {

std::pair<std::string, std::string> groupAndName(const std::string& words) {
    const auto space = words.find(' ');
    if (space == std::string::npos) return {"", words};
    return {words.substr(0, space), words.substr(space + 1)};
}

/// What is wrong with the words. Quotes none that follow a verb: one may be a secret at the wrong place.
std::string mistake(const CLI::App& app, const CLI::ParseError& error) {
    const bool isTooMuch = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const bool isTooFew = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    const CLI::App* verb = &app;
    std::string words;
    while (!verb->get_subcommands().empty()) {
        verb = verb->get_subcommands().front();
        words += (words.empty() ? "" : " ") + verb->get_name();
    }
    const bool isGroup = verb->get_require_subcommand_min() > 0;
    const std::string help = "; ssoctl " + words + (words.empty() ? "" : " ") + "--help tells more";
    if (isGroup && (isTooMuch || isTooFew)) {
        if (words.empty()) return "no such verb" + help;
        return words + ": no such verb" + help;
    }
    if (isTooMuch) return words + ": an argument too many" + help;
    if (isTooFew) return words + ": " + error.what() + help;
    // The validators' own words, which name the argument.
    return words + ": " + error.what();
}

constexpr const char* kExitCodes = R"(Exit codes:
  0  done
  1  refused, told on standard error; nothing has changed
  2  no such verb, or wrong arguments
  3  the account service cannot be reached
  4  what was waited for has not come
Of a scenario, the code of the line that ended it.

Example:
  ssoctl preset use signed-in && ssoctl status)";

Json optionsOf(const CLI::App& app) {
    Json options = Json::array();
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_positional() && !option->get_lnames().empty()) {
            options.push_back("--" + option->get_lnames().front());
        }
    }
    return options;
}

}  // namespace

VerbTree::VerbTree() : m_app("The remote control of the account service.", "ssoctl") {
    m_app.require_subcommand(1);
    m_app.set_help_flag("-h,--help", "Print this help; after a verb, the verb's");
    // Whoever has the command line takes these two out, wherever they are.
    m_app.add_option("--state", "Which state it is about; default: default")->type_name("NAME");
    m_app.add_flag("--json", "Print JSON, for programs");
    m_app.footer(kExitCodes);
}

void VerbTree::group(const std::string& word, const std::string& about) {
    m_app.add_subcommand(word, about)->require_subcommand(1);
}

CLI::App& VerbTree::addApp(const Verb& verb, std::function<void()> chosen) {
    const auto [group, name] = groupAndName(verb.words);
    CLI::App& parent = group.empty() ? m_app : *m_app.get_subcommand(group);
    CLI::App* app = parent.add_subcommand(name, verb.about);
    app->footer("Example:\n  " + verb.example);
    app->callback([app, chosen = std::move(chosen)] {
        // "clock" is a verb, and "clock advance" another.
        if (app->get_subcommands().empty()) chosen();
    });
    m_verbs.emplace_back(verb, app);
    return *app;
}

VerbResult VerbTree::run(const std::vector<std::string>& words, VerbRun& run) {
    try {
        m_app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        return {kVerbDone, m_app.help(), ""};
    } catch (const CLI::ParseError& error) {
        return {kVerbUnknown, "", mistake(m_app, error)};
    }
    try {
        return {kVerbDone, m_work(run).dump(-1, ' ', false, Json::error_handler_t::replace), ""};
    } catch (const std::exception& error) {
        std::string line = error.what();
        // Of several mistakes in a file, each has a line of its own.
        for (char& letter : line) {
            if (letter == '\n') letter = ' ';
        }
        return {kVerbRefused, "", line};
    }
}

Json VerbTree::describe() const {
    Json all = Json::array();
    for (const auto& [verb, app] : m_verbs) {
        all.push_back({{"verb", verb.words},
                       {"about", verb.about},
                       {"options", optionsOf(*app)},
                       {"values", verb.values},
                       {"example", verb.example}});
    }
    return all;
}

}  // namespace service
