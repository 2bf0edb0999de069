#ifndef SERVICE_VERBS_H_
#define SERVICE_VERBS_H_

#include <string>
#include <vector>

#include "state.h"

namespace service {

enum VerbExit { kVerbDone = 0, kVerbRefused = 1, kVerbUnknown = 2 };

/// What a verb gives.
struct VerbResult {
    int exitCode = kVerbDone;
    std::string output;  ///< JSON, or a text when help was asked for
    std::string error;   ///< one line for a person; "" when it is done
};

/// The other states, for the verbs about them.
class States {
  public:
    virtual ~States() = default;
    virtual std::vector<std::string> names() = 0;
    /// Opens it, or makes it. Throws StoreError.
    virtual State& get(const std::string& name) = 0;
    /// @return whether there was one.
    virtual bool remove(const std::string& name) = 0;
};

/// Runs one verb of the remote control. Throws nothing.
///
/// @param words  the verb and its arguments, as on ssoctl's command line.
/// @param input  what it reads: a state, a password; "" for nothing.
VerbResult runVerb(State& state, States& states, const std::vector<std::string>& words,
                   const std::string& input);

}  // namespace service

#endif
