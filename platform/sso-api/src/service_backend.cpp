#include "service_backend.h"

#include <pthread.h>
#include <utf8.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "account/operation_names.h"
#include "service/bus_client.h"

namespace sso_api {
namespace {

using account::Operation;

/// For requests the service's own bound, and some more; popups take as long as the person does.
constexpr std::chrono::milliseconds kRequestBound{700000};

const bus::Method& methodOf(Operation operation) {
    switch (operation) {
        case Operation::ShowLogin:
            return bus::account::kShowLogin;
        case Operation::ShowTerms:
            return bus::account::kShowTerms;
        case Operation::RequestAccessToken:
            return bus::account::kRequestAccessToken;
        case Operation::ListMappings:
            return bus::account::kListMappings;
        case Operation::AddMapping:
            return bus::account::kAddMapping;
        case Operation::RemoveMapping:
            return bus::account::kRemoveMapping;
        case Operation::GetLoginState:
            return bus::account::kGetLoginState;
        case Operation::GetTermState:
            return bus::account::kGetTermState;
        case Operation::GetLoginInfo:
            return bus::account::kGetLoginInfo;
        case Operation::GetGuid:
            return bus::account::kGetGuid;
        case Operation::GetAuthToken:
            break;
    }
    return bus::account::kGetAuthToken;
}

bool isPopup(Operation operation) {
    return operation == Operation::ShowLogin || operation == Operation::ShowTerms;
}

/// Texts on a bus are UTF-8; what is not has replacement characters there, as in lists.
int append(sd_bus_message* call, const std::string& text) {
    return sd_bus_message_append(
        call, "s", utf8::is_valid(text) ? text.c_str() : utf8::replace_invalid(text).c_str());
}

/// What an operation's callback is told when the service does not answer.
CallbackArguments unreachable() { return {SSO_ERROR_UNAVAILABLE, SSO_POPUP_FAILED, nullptr}; }

/// Once, as it stays so.
void tellWhoShowsWindows() {
    static std::once_flag told;
    std::call_once(told, [] {
        std::fputs(
            "sso_api: nothing here can show a window of the account service; sso-browser does, and "
            "ssoctl popup complete lets the next one end without\n",
            stderr);
    });
}

/// A page is told no more than that it failed.
void tellWhyNobodyAnswers(const std::string& why) {
    std::fprintf(stderr, "sso_api: the account service does not answer: %s\n", why.c_str());
}

std::unique_ptr<service::BusClient> makeClient(const std::string& address) {
    return std::make_unique<service::BusClient>(address, service::BusClient::Prepare(),
                                                &tellWhyNobodyAnswers);
}

CallbackArguments read(sd_bus_message* message) {
    CallbackArguments told = unreachable();
    const std::string_view signature = sd_bus_message_get_signature(message, 1);
    const char* text = nullptr;
    int state = SSO_POPUP_FAILED;
    if (signature == "ii") {
        sd_bus_message_read(message, "ii", &told.result, &state);
        told.state = static_cast<sso_popup_state_e>(state);
    } else if (signature == "is") {
        sd_bus_message_read(message, "is", &told.result, &text);
        if (told.result == SSO_OK) told.text = copyForC(text);
    } else {
        sd_bus_message_read(message, "i", &told.result);
    }
    return told;
}

Answer readAnswer(Operation operation, sd_bus_message* message) {
    Answer answer;
    const char* first = "";
    const char* second = "";
    if (operation == Operation::GetLoginState || operation == Operation::GetTermState) {
        int state = 0;
        sd_bus_message_read(message, "ii", &answer.result, &state);
        if (answer.result == SSO_OK) answer.state = state;
    } else if (operation == Operation::GetLoginInfo) {
        sd_bus_message_read(message, "iss", &answer.result, &first, &second);
        if (answer.result == SSO_OK) {
            sso_login_info& info = answer.info.emplace();
            std::string_view(first).copy(info.login_id, sizeof info.login_id - 1);
            std::string_view(second).copy(info.uid, sizeof info.uid - 1);
        }
    } else {
        sd_bus_message_read(message, "is", &answer.result, &first);
        if (answer.result == SSO_OK) answer.text = first;
    }
    return answer;
}

/// The service on a bus.
class OnBus : public ServiceBackend {
  public:
    OnBus(std::string address, std::string path, std::string agent)
        : m_address(std::move(address)),
          m_path(std::move(path)),
          m_agent(std::move(agent)),
          m_client(makeClient(m_address)) {}

    /// In a forked child.
    void beginAnew() {
        m_client->closeInChild();
        m_ofParent = m_client.release();
        m_client = makeClient(m_address);
    }

    bool canStart(Operation operation) override;
    void run(Operation operation, const std::vector<std::string>& texts,
             OperationQueue::Id id) override;
    Answer ask(Operation operation, const char* text) override;
    std::string replace(const std::string& json) override;
    void cancelAll() override;

  private:
    /// For what changes nothing: a call that the service's end took away finds the next one.
    bool askTwice(const bus::Method& method, const service::BusClient::Write& write,
                  const service::BusClient::Read& read);

    const std::string m_address;
    const std::string m_path;
    const std::string m_agent;  ///< who shows windows; "" for nobody
    std::unique_ptr<service::BusClient> m_client;
    service::BusClient* m_ofParent = nullptr;  ///< in a forked child; it must not be destroyed
};

bool OnBus::askTwice(const bus::Method& method, const service::BusClient::Write& write,
                     const service::BusClient::Read& read) {
    const auto end = std::chrono::steady_clock::now() + kBound;
    for (int left = 2; left > 0; --left) {
        const auto rest =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (rest.count() <= 0) return false;
        if (m_client->callAndWait(method, m_path, write, rest, read)) return true;
    }
    return false;
}

bool OnBus::canStart(Operation operation) {
    return m_client->callAndWait(
        bus::account::kCanStart, m_path,
        [operation](sd_bus_message* call) {
            return sd_bus_message_append(call, "s", account::nameOf(operation));
        },
        kBound, [](sd_bus_message* /*answer*/) {});
}

void OnBus::run(Operation operation, const std::vector<std::string>& texts, OperationQueue::Id id) {
    const bool popup = isPopup(operation);
    auto write = [texts, agent = popup ? m_agent : std::string(), popup](sd_bus_message* call) {
        int result = popup ? sd_bus_message_append(call, "s", agent.c_str()) : 0;
        for (const std::string& text : texts) {
            if (result >= 0) result = append(call, text);
        }
        return result;
    };
    m_client->call(methodOf(operation), m_path, std::move(write),
                   popup ? std::nullopt : std::optional(kRequestBound),
                   [id, unseen = popup && m_agent.empty()](sd_bus_message* message) {
                       // Not here, where other answers wait: a callback may take its time.
                       CallbackArguments told = unreachable();
                       try {
                           if (message != nullptr) told = read(message);
                           if (unseen && told.state == SSO_POPUP_FAILED) tellWhoShowsWindows();
                       } catch (const std::bad_alloc&) {
                           // It stays unreachable.
                       }
                       OperationQueue::instance().endLater(id, std::move(told));
                   });
}

Answer OnBus::ask(Operation operation, const char* text) {
    Answer answer{SSO_ERROR_UNAVAILABLE, {}, {}, {}};
    // Shared, for the case that it comes when nobody waits any more.
    const auto got = std::make_shared<Answer>(answer);
    const bool answered = askTwice(
        methodOf(operation),
        [argument = std::optional<std::string>(text != nullptr ? std::optional<std::string>(text)
                                                               : std::nullopt)](
            sd_bus_message* call) { return argument ? append(call, *argument) : 0; },
        [got, operation](sd_bus_message* message) { *got = readAnswer(operation, message); });
    return answered ? *got : answer;
}

std::string OnBus::replace(const std::string& json) {
    const auto complaint = std::make_shared<std::string>();
    const bool answered = m_client->callAndWait(
        bus::control::kRun, m_path,
        [json](sd_bus_message* call) {
            return sd_bus_message_append(call, bus::control::kRun.in, 2, "state", "load",
                                         json.c_str());
        },
        kBound,
        [complaint](sd_bus_message* message) {
            int exitCode = 0;
            const char* output = nullptr;
            const char* error = nullptr;
            sd_bus_message_read(message, bus::control::kRun.out, &exitCode, &output, &error);
            if (exitCode != 0) *complaint = error;
        });
    return answered ? *complaint : "the account service does not answer";
}

void OnBus::cancelAll() {
    m_client->call(bus::account::kCancelAll, m_path, {}, kBound, [](sd_bus_message* /*answer*/) {});
}

std::mutex g_making;
OnBus* g_service = nullptr;
// A fork would meet the service half made, and wait for it for ever. From load on: a handler that is registered
// while a process forks is not run in the child.
[[maybe_unused]] const int g_makingForkHandler =
    pthread_atfork([] { g_making.lock(); }, [] { g_making.unlock(); },
                   [] {
                       if (g_service != nullptr) g_service->beginAnew();
                       g_making.unlock();
                   });

}  // namespace

ServiceBackend* ServiceBackend::instance() {
    const std::lock_guard lock(g_making);
    static ServiceBackend* const backend = []() -> ServiceBackend* {
        const char* address = std::getenv("SSO_BUS_ADDRESS");
        const char* state = std::getenv("SSO_STATE");
        if (address == nullptr || *address == '\0' || state == nullptr || *state == '\0') {
            return nullptr;
        }
        OperationQueue::instance();  // lives longer: answers go there
        const char* agent = std::getenv("SSO_AGENT");
        static OnBus service(address, service::pathOf(state), agent != nullptr ? agent : "");
        g_service = &service;
        return g_service;
    }();
    return backend;
}

}  // namespace sso_api
