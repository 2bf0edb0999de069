#ifndef SERVICE_VERB_TREE_H_
#define SERVICE_VERB_TREE_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "verbs.h"

namespace service {

/// A verb that cannot be done; what() is a line for a person, and quotes no secret.
class Refused : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What a verb works with.
struct VerbRun {
    State& state;
    States& states;
    const std::string& input;
};

/// The remote control's verbs: one subcommand each, some of them in groups.
class VerbTree {
  public:
    struct Verb {
        std::string words;  ///< such as "account add"
        std::string about;
        std::string example;  ///< a line for a shell, which works with the preset "full"
        std::vector<std::string>
            values;  ///< that its first argument may have, as far as they are known
    };

    VerbTree();

    /// Verbs that begin with the same word.
    void group(const std::string& word, const std::string& about);

    /// A verb with arguments.
    ///
    /// @param declare  (CLI::App&, Arguments&) names the arguments on the command line.
    /// @param work     (VerbRun&, const Arguments&) does it, and returns its output.
    template <typename Arguments, typename Declare, typename Work>
    void add(const Verb& verb, Declare declare, Work work) {
        const auto arguments = std::make_shared<Arguments>();
        declare(addApp(verb,
                       [this, arguments, work] {
                           m_work = [arguments, work](VerbRun& run) {
                               return work(run, *arguments);
                           };
                       }),
                *arguments);
    }

    /// A verb without any. @param work  (VerbRun&), as above.
    template <typename Work>
    void add(const Verb& verb, Work work) {
        addApp(verb, [this, work] { m_work = work; });
    }

    VerbResult run(const std::vector<std::string>& words, VerbRun& run);

    /// All verbs with their words, options, values and examples.
    Json describe() const;

  private:
    CLI::App& addApp(const Verb& verb, std::function<void()> chosen);

    CLI::App m_app;
    std::vector<std::pair<Verb, CLI::App*>> m_verbs;
    std::function<Json(VerbRun&)> m_work;
};

// The verbs, by subject.
namespace account_verbs {
void declare(VerbTree& tree);
}
namespace client_verbs {
void declare(VerbTree& tree);
}
namespace terms_verbs {
void declare(VerbTree& tree);
}
namespace mapping_verbs {
void declare(VerbTree& tree);
}
namespace popup_verbs {
void declare(VerbTree& tree);
}
namespace order_verbs {
void declare(VerbTree& tree);
}
namespace clock_verbs {
void declare(VerbTree& tree);
}
namespace state_verbs {
void declare(VerbTree& tree);
}
namespace local_verbs {
void declare(VerbTree& tree);
}

}  // namespace service

#endif
