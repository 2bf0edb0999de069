#include "src/account/account_link.h"

#include <QMetaObject>
#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "src/later.h"

namespace browser {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBound(10000);  // of an answer; a verb may be slow
constexpr int kRetryDelay = 500;       // milliseconds

int appendTexts(sd_bus_message* call, const Texts& texts) {
    int result = sd_bus_message_open_container(call, 'a', "{ss}");
    for (const auto& [name, text] : texts) {
        if (result >= 0) {
            result = sd_bus_message_append(call, "{ss}", name.c_str(), text.c_str());
        }
    }
    return result < 0 ? result : sd_bus_message_close_container(call);
}

int readTexts(sd_bus_message* message, Texts& texts) {
    int result = sd_bus_message_enter_container(message, 'a', "{ss}");
    const char* name = nullptr;
    const char* text = nullptr;
    while (result > 0 && (result = sd_bus_message_read(message, "{ss}", &name, &text)) > 0) {
        texts[name] = text;
    }
    return result < 0 ? result : sd_bus_message_exit_container(message);
}

}  // namespace

std::string AccountLink::makeKey() {
    std::random_device random;
    std::string key;
    for (int i = 0; i < 4; ++i) {
        key += QString::number(random(), 16).rightJustified(8, QLatin1Char('0')).toStdString();
    }
    return key;
}

AccountLink::AccountLink(const std::string& address, const std::string& state, std::string key,
                         Observer observer)
    : m_path(service::pathOf(state)),
      m_key(std::move(key)),
      m_observer(std::move(observer)),
      m_client(address, [this](sd_bus* bus) { return prepare(bus); }) {
    registerAgent();
}

void AccountLink::handOver(std::function<void()> what) {
    QMetaObject::invokeMethod(&m_context, std::move(what), Qt::QueuedConnection);
}

int AccountLink::prepare(sd_bus* bus) {
    int result = sd_bus_add_object_vtable(bus, nullptr, service::kAgentPath, bus::agent::kName,
                                          kAgentTable, this);
    if (result >= 0) {
        const std::string match =
            std::string(
                "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
                "arg0='") +
            service::kBusName + "'";
        result = sd_bus_add_match_async(bus, nullptr, match.c_str(), &AccountLink::onOwnerChanged,
                                        nullptr, this);
    }
    if (result >= 0) {
        result = sd_bus_match_signal_async(bus, nullptr, service::kBusName, m_path.c_str(),
                                           bus::control::kName, bus::control::kEvent,
                                           &AccountLink::onEvent, nullptr, this);
    }
    if (result >= 0) {
        result =
            sd_bus_match_signal_async(bus, nullptr, "org.freedesktop.DBus.Local",
                                      "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local",
                                      "Disconnected", &AccountLink::onDisconnected, nullptr, this);
    }
    return result;
}

void AccountLink::registerAgent() {
    m_client.call(
        bus::windows::kRegisterAgent, m_path,
        [this](sd_bus_message* call) { return sd_bus_message_append(call, "s", m_key.c_str()); },
        kBound,
        [this](sd_bus_message* answer) {
            if (answer != nullptr) return;
            handOver([this] {
                later(m_context, kRetryDelay, [this] {
                    m_observer.unreachable();
                    registerAgent();
                });
            });
        });
}

void AccountLink::onLost() {
    m_observer.lost();
    if (m_watcher) m_watcher({});
    registerAgent();
}

int AccountLink::onOwnerChanged(sd_bus_message* signal, void* user, sd_bus_error* /*error*/) {
    auto& link = *static_cast<AccountLink*>(user);
    const char* name = nullptr;
    const char* former = nullptr;
    const char* owner = nullptr;
    if (sd_bus_message_read(signal, "sss", &name, &former, &owner) < 0) return 0;
    if (*former != '\0') link.handOver([&link] { link.onLost(); });
    return 0;
}

int AccountLink::onDisconnected(sd_bus_message* /*signal*/, void* user, sd_bus_error* /*error*/) {
    auto& link = *static_cast<AccountLink*>(user);
    link.handOver([&link] { link.onLost(); });
    return 0;
}

int AccountLink::onEvent(sd_bus_message* signal, void* user, sd_bus_error* /*error*/) {
    auto& link = *static_cast<AccountLink*>(user);
    const char* json = nullptr;
    if (sd_bus_message_read(signal, "s", &json) < 0) return 0;
    link.handOver([&link, text = QString::fromUtf8(json)] {
        if (link.m_watcher) link.m_watcher(text);
    });
    return 0;
}

void AccountLink::submit(PopupNumber popup, const std::string& action, const Texts& fields,
                         Submitted submitted) {
    m_client.call(
        bus::windows::kSubmit, m_path,
        [=](sd_bus_message* call) {
            const int result = sd_bus_message_append(call, "ts", popup, action.c_str());
            return result < 0 ? result : appendTexts(call, fields);
        },
        kBound,
        [this, submitted = std::move(submitted)](sd_bus_message* answer) {
            int done = 0;
            Texts errors;
            const bool answered = answer != nullptr &&
                                  sd_bus_message_read(answer, "b", &done) >= 0 &&
                                  readTexts(answer, errors) >= 0;
            handOver([=] { submitted(answered, done != 0, errors); });
        });
}

void AccountLink::tell(const bus::Method& method, PopupNumber popup) {
    // When nobody answers, the popup is gone as well.
    m_client.call(
        method, m_path,
        [popup](sd_bus_message* call) { return sd_bus_message_append(call, "t", popup); }, kBound,
        [](sd_bus_message* /*answer*/) {});
}

void AccountLink::closed(PopupNumber popup) { tell(bus::windows::kClosed, popup); }
void AccountLink::failed(PopupNumber popup) { tell(bus::windows::kFailed, popup); }

void AccountLink::run(const QStringList& words, std::function<void(const VerbResult&)> done) {
    std::vector<std::string> plain;
    for (const QString& word : words) plain.push_back(word.toStdString());
    m_client.call(
        bus::control::kRun, m_path,
        [plain](sd_bus_message* call) {
            int result = sd_bus_message_open_container(call, 'a', "s");
            for (const std::string& word : plain) {
                if (result >= 0) result = sd_bus_message_append(call, "s", word.c_str());
            }
            if (result >= 0) result = sd_bus_message_close_container(call);
            return result < 0 ? result : sd_bus_message_append(call, "s", "");
        },
        kBound,
        [this, done = std::move(done)](sd_bus_message* answer) {
            VerbResult result;
            const char* output = nullptr;
            const char* error = nullptr;
            if (answer == nullptr ||
                sd_bus_message_read(answer, "iss", &result.exitCode, &output, &error) < 0) {
                result = {-1, {}, QStringLiteral("the account service does not answer")};
            } else {
                result.output = QString::fromUtf8(output);
                result.error = QString::fromUtf8(error);
            }
            handOver([=] { done(result); });
        });
}

}  // namespace browser

// The agent's object; the service calls these on the connection's thread.

using browser::AccountLink;
using browser::PopupNumber;
using browser::Texts;

int onAgentOpen(sd_bus_message* call, void* user, sd_bus_error* /*error*/) {
    auto& link = *static_cast<AccountLink*>(user);
    PopupNumber popup = 0;
    const char* title = nullptr;
    const char* html = nullptr;
    const int result = sd_bus_message_read(call, "tss", &popup, &title, &html);
    if (result < 0) return result;
    link.handOver([&link, popup, title = QString::fromUtf8(title), html = QString::fromUtf8(html)] {
        link.observer().open(popup, title, html);
    });
    return sd_bus_reply_method_return(call, "");
}

int onAgentTakeAway(sd_bus_message* call, void* user, sd_bus_error* /*error*/) {
    auto& link = *static_cast<AccountLink*>(user);
    PopupNumber popup = 0;
    const int result = sd_bus_message_read(call, "t", &popup);
    if (result < 0) return result;
    link.handOver([&link, popup] { link.observer().takeAway(popup); });
    return sd_bus_reply_method_return(call, "");
}

int onAgentFill(sd_bus_message* call, void* user, sd_bus_error* /*error*/) {
    auto& link = *static_cast<AccountLink*>(user);
    PopupNumber popup = 0;
    Texts fields;
    int press = 0;
    int result = sd_bus_message_read(call, "t", &popup);
    if (result >= 0) result = browser::readTexts(call, fields);
    if (result >= 0) result = sd_bus_message_read(call, "b", &press);
    if (result < 0) return result;
    link.handOver([=, &link] { link.observer().fill(popup, fields, press != 0); });
    return sd_bus_reply_method_return(call, "");
}
