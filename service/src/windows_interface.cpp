// What the agents that show windows tell.

#include <cerrno>
#include <map>

#include "service.h"

using account::PopupState;
using service::Exported;
using service::FormErrors;
using service::Message;

namespace {

/// @return a negative errno, or 1.
int readFields(sd_bus_message* call, std::map<std::string, std::string>& fields) {
    int result = sd_bus_message_enter_container(call, 'a', "{ss}");
    const char* name = nullptr;
    const char* value = nullptr;
    while (result > 0 && (result = sd_bus_message_read(call, "{ss}", &name, &value)) > 0) {
        fields[name] = value;
    }
    return result < 0 ? result : sd_bus_message_exit_container(call);
}

int answerSubmit(sd_bus_message* call, bool done, const FormErrors& errors) {
    sd_bus_message* made = nullptr;
    const int result = sd_bus_message_new_method_return(call, &made);
    if (result < 0) return result;
    const Message message(made);
    sd_bus_message_append(made, "b", static_cast<int>(done));
    sd_bus_message_open_container(made, 'a', "{ss}");
    for (const auto& [name, text] : errors) {
        sd_bus_message_append(made, "{ss}", name.c_str(), text.c_str());
    }
    sd_bus_message_close_container(made);
    return sd_bus_send(nullptr, made, nullptr);
}

/// The caller's popup has ended.
int end(sd_bus_message* call, void* user, PopupState state) {
    Exported& exported = *static_cast<Exported*>(user);
    if (!exported.service.admit(call)) return -EACCES;
    std::uint64_t popup = 0;
    const int result = sd_bus_message_read(call, "t", &popup);
    if (result < 0) return result;
    exported.state.endPopup(popup, state);
    return sd_bus_reply_method_return(call, "");
}

}  // namespace

int onWindowsRegisterAgent(sd_bus_message* call, void* user, sd_bus_error* /*error*/) {
    Exported& exported = *static_cast<Exported*>(user);
    if (!exported.service.admit(call)) return -EACCES;
    const char* agent = nullptr;
    const int result = sd_bus_message_read(call, "s", &agent);
    if (result < 0) return result;
    exported.service.registerAgent(agent, sd_bus_message_get_sender(call));
    return sd_bus_reply_method_return(call, "");
}

int onWindowsSubmit(sd_bus_message* call, void* user, sd_bus_error* error) {
    Exported& exported = *static_cast<Exported*>(user);
    if (!exported.service.admit(call)) return -EACCES;
    std::uint64_t popup = 0;
    const char* action = nullptr;
    std::map<std::string, std::string> fields;
    int result = sd_bus_message_read(call, "ts", &popup, &action);
    if (result >= 0) result = readFields(call, fields);
    if (result < 0) return result;
    try {
        const auto errors = exported.state.submit(popup, action, fields);
        return answerSubmit(call, !errors, errors.value_or(FormErrors()));
    } catch (const std::exception& failure) {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, failure.what());
    }
}

int onWindowsClosed(sd_bus_message* call, void* user, sd_bus_error* /*error*/) {
    return end(call, user, PopupState::Closed);
}

int onWindowsFailed(sd_bus_message* call, void* user, sd_bus_error* /*error*/) {
    return end(call, user, PopupState::Failed);
}
