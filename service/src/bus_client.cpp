#include "service/bus_client.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

namespace service {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kOwnErrors = "example.korvane.";

std::uint64_t microseconds(std::chrono::milliseconds time) {
    return static_cast<std::uint64_t>(std::chrono::microseconds(time).count());
}

}  // namespace

std::string pathOf(const std::string& state) {
    char* path = nullptr;
    if (sd_bus_path_encode("/example/korvane/SSO1", state.c_str(), &path) < 0) {
        throw std::bad_alloc();
    }
    std::string copy = path;
    std::free(path);
    return copy;
}

struct BusClient::Call {
    const bus::Method* method;
    std::string path;
    Write write;
    std::optional<std::chrono::milliseconds> bound;
    Read read;
    // Once it is under way.
    BusClient* client = nullptr;
    Calls::iterator self{};
    sd_bus_slot* slot = nullptr;
};

BusClient::BusClient(std::string address, Prepare prepare, Complain complain)
    : m_address(std::move(address)),
      m_prepare(std::move(prepare)),
      m_complain(std::move(complain)) {}

BusClient::~BusClient() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    if (!m_thread.joinable()) return;
    wake();
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();  // a callback ends the process: it cannot wait for itself
        return;
    }
    m_thread.join();
    close(m_wake);
}

void BusClient::closeInChild() {
    for (const int file : {m_wake, m_socket.load()}) {
        if (file >= 0) close(file);
    }
}

void BusClient::call(const bus::Method& method, const std::string& path, Write write,
                     std::optional<std::chrono::milliseconds> bound, Read read) {
    const std::lock_guard lock(m_mutex);
    if (!m_thread.joinable()) {
        m_wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (m_wake < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
        m_thread = std::thread(&BusClient::run, this);
    }
    Call& wanted = m_wanted.emplace_back();
    wanted.method = &method;
    wanted.path = path;
    wanted.write = std::move(write);
    wanted.bound = bound;
    wanted.read = std::move(read);
    wake();
}

bool BusClient::callAndWait(const bus::Method& method, const std::string& path, Write write,
                            std::chrono::milliseconds bound, Read read) {
    // Outlives this call when the answer comes too late.
    struct Waiting {
        std::mutex mutex;
        std::condition_variable changed;
        Read read;
        bool isOver = false;  ///< answered, or no longer waited for
        bool succeeded = false;
    };
    const auto waiting = std::make_shared<Waiting>();
    waiting->read = std::move(read);
    call(method, path, std::move(write), bound, [waiting](sd_bus_message* answer) {
        const std::lock_guard lock(waiting->mutex);
        if (waiting->isOver) return;
        if (answer != nullptr) waiting->read(answer);
        waiting->succeeded = answer != nullptr;
        waiting->isOver = true;
        waiting->changed.notify_all();
    });
    std::unique_lock lock(waiting->mutex);
    waiting->changed.wait_for(lock, bound, [&] { return waiting->isOver; });
    waiting->isOver = true;
    return waiting->succeeded;
}

void BusClient::wake() {
    const std::uint64_t one = 1;
    // It can only fail when it is awake already.
    [[maybe_unused]] const ssize_t written = write(m_wake, &one, sizeof one);
}

void BusClient::run() {
    pthread_setname_np(pthread_self(), "sso-bus");
    for (;;) {
        std::deque<Call> wanted;
        {
            const std::lock_guard lock(m_mutex);
            if (m_stopping) break;
            wanted.swap(m_wanted);
        }
        for (Call& call : wanted) start(std::move(call));
        int result = 0;
        while (m_bus != nullptr && (result = sd_bus_process(m_bus, nullptr)) > 0) {
        }
        if (result < 0) disconnect();
        ping();
        wait();
    }
    for (Call& call : m_calls) sd_bus_slot_unref(std::exchange(call.slot, nullptr));
    m_calls.clear();
    disconnect();
}

bool BusClient::connect() {
    if (m_bus != nullptr) return true;
    if (sd_bus_new(&m_bus) < 0) return false;
    if (sd_bus_set_address(m_bus, m_address.c_str()) < 0 || sd_bus_set_bus_client(m_bus, 1) < 0 ||
        sd_bus_start(m_bus) < 0 || (m_prepare && m_prepare(m_bus) < 0)) {
        disconnect();
        return false;
    }
    m_socket = sd_bus_get_fd(m_bus);
    m_nextPing = Clock::now() + kPingInterval;
    return true;
}

void BusClient::disconnect() {
    m_ping = sd_bus_slot_unref(m_ping);
    failAll("the connection to the bus has ended");
    m_socket = -1;
    sd_bus_close(m_bus);
    m_bus = sd_bus_unref(m_bus);
}

void BusClient::failAll(const char* why) {
    Calls failed;
    failed.swap(m_calls);
    if (!failed.empty()) complain(why);
    for (Call& call : failed) {
        sd_bus_slot_unref(std::exchange(call.slot, nullptr));
        call.read(nullptr);
    }
}

void BusClient::complain(const char* why) {
    if (m_complain && !std::exchange(m_hasComplained, true)) m_complain(why);
}

void BusClient::start(Call wanted) {
    if (!connect()) {
        wanted.read(nullptr);
        return;
    }
    sd_bus_message* message = nullptr;
    const int made = sd_bus_message_new_method_call(m_bus, &message, kBusName, wanted.path.c_str(),
                                                    wanted.method->interface, wanted.method->name);
    Calls started;
    started.push_back(std::move(wanted));
    Call& call = started.front();
    call.client = this;
    call.self = started.begin();
    const bool sent = made >= 0 && (!call.write || call.write(message) >= 0) &&
                      sd_bus_call_async(m_bus, &call.slot, message, &BusClient::onAnswer, &call,
                                        call.bound ? microseconds(*call.bound) : UINT64_MAX) >= 0;
    sd_bus_message_unref(message);
    if (!sent) {
        call.read(nullptr);
        return;
    }
    if (m_calls.empty()) m_nextPing = Clock::now() + kPingInterval;
    m_calls.splice(m_calls.end(), started);
}

int BusClient::onAnswer(sd_bus_message* answer, void* user, sd_bus_error* /*unused*/) {
    Call& call = *static_cast<Call*>(user);
    Calls done;
    done.splice(done.begin(), call.client->m_calls, call.self);
    const bool isGood = sd_bus_message_is_method_error(answer, nullptr) == 0 &&
                        sd_bus_message_has_signature(answer, call.method->out) > 0;
    const sd_bus_error* error = sd_bus_message_get_error(answer);
    // What the service refuses is an answer, too.
    if (error != nullptr && std::strncmp(error->name, kOwnErrors, std::strlen(kOwnErrors)) != 0) {
        call.client->complain(error->message != nullptr ? error->message : error->name);
    } else {
        call.client->m_hasComplained = false;
    }
    call.read(isGood ? answer : nullptr);
    sd_bus_slot_unref(call.slot);
    return 1;
}

// A service that is stopped keeps its name, and the bus keeps its calls: only silence tells.
void BusClient::ping() {
    if (m_bus == nullptr || m_ping != nullptr || m_calls.empty() || Clock::now() < m_nextPing) {
        return;
    }
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(m_bus, &message, kBusName, "/", "org.freedesktop.DBus.Peer",
                                       "Ping") < 0) {
        return;
    }
    sd_bus_message_set_auto_start(message, 0);
    sd_bus_call_async(m_bus, &m_ping, message, &BusClient::onPong, this, microseconds(kSilence));
    sd_bus_message_unref(message);
}

int BusClient::onPong(sd_bus_message* answer, void* user, sd_bus_error* /*error*/) {
    BusClient& client = *static_cast<BusClient*>(user);
    client.m_ping = sd_bus_slot_unref(client.m_ping);
    client.m_nextPing = Clock::now() + kPingInterval;
    if (sd_bus_message_is_method_error(answer, nullptr) > 0) client.failAll("it is silent");
    return 1;
}

void BusClient::wait() {
    pollfd files[2] = {{m_wake, POLLIN, 0}, {-1, 0, 0}};
    std::optional<Clock::time_point> until;
    if (m_bus != nullptr) {
        files[1].fd = sd_bus_get_fd(m_bus);
        const int events = sd_bus_get_events(m_bus);
        files[1].events = static_cast<short>(std::max(events, 0));
        std::uint64_t timeout = UINT64_MAX;  // of CLOCK_MONOTONIC, which is the steady clock
        if (sd_bus_get_timeout(m_bus, &timeout) > 0 && timeout != UINT64_MAX) {
            until = Clock::time_point(std::chrono::microseconds(timeout));
        }
        if (!m_calls.empty() && m_ping == nullptr) {
            until = std::min(until.value_or(m_nextPing), m_nextPing);
        }
    }
    int milliseconds = -1;
    if (until) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(*until - Clock::now()).count();
        milliseconds = static_cast<int>(std::clamp<long>(left, 0, 60000));
    }
    poll(files, 2, milliseconds);
    std::uint64_t ignored = 0;
    [[maybe_unused]] const ssize_t taken = read(m_wake, &ignored, sizeof ignored);
}

}  // namespace service
