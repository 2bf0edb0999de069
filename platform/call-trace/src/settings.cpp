#include "settings.h"

#include <cstdlib>

#include "base/never_destroyed.h"

namespace call_trace {
namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

Settings read() {
    const std::string file = variable("HT_TRACE");
    return {file, !file.empty() && variable("HT_TRACE_TYPES") == "1"};
}

}  // namespace

const Settings& settings() {
    static base::NeverDestroyed<Settings> settings(read());
    return *settings;
}

}  // namespace call_trace
