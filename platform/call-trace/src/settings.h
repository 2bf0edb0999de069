#ifndef CALL_TRACE_SETTINGS_H_
#define CALL_TRACE_SETTINGS_H_

#include <string>

namespace call_trace {

/// What the environment says, as of the first call of settings().
struct Settings {
    std::string file;  ///< to record in; empty for none
    bool recordsTypes;
};

const Settings& settings();

}  // namespace call_trace

#endif
