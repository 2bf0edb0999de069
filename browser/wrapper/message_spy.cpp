#include "wrapper/message_spy.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "base/never_destroyed.h"
#include "embedder/commands.h"
#include "embedder/message_journal.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_messaging.h"
#include "wrapper/events.h"
#include "wrapper/var_text.h"

namespace browser {
namespace {

using nlohmann::json;

const PPB_Messaging_1_2* browserMessaging = nullptr;
std::optional<VarText> vars;
bool writesMessages = false;
base::NeverDestroyed<std::optional<embedder::MessageJournal>> journal;
std::atomic<std::uint64_t> lastCall = 0;

/// The browser's names of instances are odd; people count.
class Numbers {
  public:
    int of(PP_Instance instance) {
        const std::lock_guard lock(m_mutex);
        const auto [entry, isNew] = m_numbers.emplace(instance, m_last + 1);
        if (isNew) ++m_last;
        return entry->second;
    }
    void forget(PP_Instance instance) {
        const std::lock_guard lock(m_mutex);
        m_numbers.erase(instance);
    }

  private:
    std::mutex m_mutex;
    std::map<PP_Instance, int> m_numbers;
    int m_last = 0;
};

base::NeverDestroyed<Numbers> numbers;

std::string shown(const PP_Var& message) { return writesMessages ? vars->json(message) : "null"; }

/// The handler that the plug-in has registered for an instance.
struct Handler {
    const PPP_MessageHandler* table;
    void* data;
};

/// Whether an answer says that the privilege is missing.
bool isRefusal(const PP_Var& answer, const char* key) {
    return vars->number(answer, key) == embedder::kRefused;
}

void postMessage(PP_Instance instance, PP_Var message) {
    // Before the page has it: whoever asks after that finds it told.
    const std::string command = vars->command(message);
    const int who = (*numbers).of(instance);
    const auto asked = (*journal)->answered(who, shown(message), command);
    sendEvent(json{kEventAnswered, who, command});
    if (isRefusal(message, "status")) {
        sendEvent(json{kEventRefused, asked ? asked->command : std::string()});
    }
    browserMessaging->PostMessage(instance, message);
}

void handleMessage(PP_Instance instance, void* data, const PP_Var* message) {
    const std::string command = vars->command(*message);
    const int who = (*numbers).of(instance);
    (*journal)->posted(who, shown(*message), command);
    sendEvent(json{kEventPosted, who, command});
    const auto* handler = static_cast<const Handler*>(data);
    handler->table->HandleMessage(instance, handler->data, message);
}

void handleBlockingMessage(PP_Instance instance, void* data, const PP_Var* message,
                           PP_Var* response) {
    const std::string command = vars->command(*message);
    const int who = (*numbers).of(instance);
    const auto call = (*journal)->called(who, shown(*message), command);
    const std::uint64_t number = ++lastCall;
    sendEvent(json{kEventCalled, who, command, number});
    const auto* handler = static_cast<const Handler*>(data);
    handler->table->HandleBlockingMessage(instance, handler->data, message, response);
    (*journal)->replied(call, shown(*response));
    sendEvent(json{kEventReplied, number});
    if (isRefusal(*response, "code")) sendEvent(json{kEventRefused, command});
}

void destroy(PP_Instance instance, void* data) {
    const std::unique_ptr<const Handler> handler(static_cast<const Handler*>(data));
    handler->table->Destroy(instance, handler->data);
}

constexpr PPP_MessageHandler kSpyingHandler = {handleMessage, handleBlockingMessage, destroy};

int32_t registerMessageHandler(PP_Instance instance, void* data, const PPP_MessageHandler* table,
                               PP_Resource loop) {
    if (table == nullptr) {
        return browserMessaging->RegisterMessageHandler(instance, data, table, loop);
    }
    // Freed by destroy(). The browser does not call that when the loop has ended before; what stays
    // then are these few bytes.
    auto handler = std::make_unique<Handler>(Handler{table, data});
    const int32_t result =
        browserMessaging->RegisterMessageHandler(instance, handler.get(), &kSpyingHandler, loop);
    if (result == PP_OK) static_cast<void>(handler.release());
    return result;
}

void unregisterMessageHandler(PP_Instance instance) {
    browserMessaging->UnregisterMessageHandler(instance);
}

constexpr PPB_Messaging_1_2 kSpyingMessaging = {postMessage, registerMessageHandler,
                                                unregisterMessageHandler};

}  // namespace

void startSpying(PPB_GetInterface getInterface, bool writes) {
    browserMessaging =
        static_cast<const PPB_Messaging_1_2*>(getInterface(PPB_MESSAGING_INTERFACE_1_2));
    vars.emplace(getInterface);
    writesMessages = writes;
    (*journal).emplace([](const std::string& line) {
        if (writesMessages) sendEvent(json{kEventMessage, line});
    });
}

const void* spyingMessaging() { return browserMessaging == nullptr ? nullptr : &kSpyingMessaging; }

void noteInstance(PP_Instance instance) { sendEvent(json{kEventCreated, (*numbers).of(instance)}); }

void forgetInstance(PP_Instance instance) {
    const int who = (*numbers).of(instance);
    (*journal)->forget(who);
    sendEvent(json{kEventGone, who});
    (*numbers).forget(instance);
}

}  // namespace browser
