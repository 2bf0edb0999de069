// The remote control.

#include <cerrno>
#include <string>
#include <vector>

#include "service.h"

using service::Exported;

int onControlRun(sd_bus_message* call, void* user, sd_bus_error* /*error*/) {
    Exported& exported = *static_cast<Exported*>(user);
    if (!exported.service.admit(call)) return -EACCES;
    std::vector<std::string> words;
    int result = sd_bus_message_enter_container(call, 'a', "s");
    const char* text = nullptr;
    while (result > 0 && (result = sd_bus_message_read(call, "s", &text)) > 0) {
        words.emplace_back(text);
    }
    if (result >= 0) result = sd_bus_message_exit_container(call);
    if (result >= 0) result = sd_bus_message_read(call, "s", &text);
    if (result < 0) return result;
    const service::VerbResult done =
        service::runVerb(exported.state, exported.service, words, text);
    return sd_bus_reply_method_return(call, bus::control::kRun.out, done.exitCode,
                                      done.output.c_str(), done.error.c_str());
}
