#include "host/session.h"

#include <utility>

#include "host/browser_interfaces.h"

namespace host {

// While it lives, messages wait: a page that is blocked in a call gets them after the answer.
class Session::HeldMessages {
  public:
    explicit HeldMessages(Session& session) : m_session(session) { set(true); }
    ~HeldMessages() {
        set(false);
        m_session.onMessage();
    }
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;

  private:
    void set(bool holding) {
        const std::lock_guard lock(m_session.m_mutex);
        m_session.m_holding = holding;
    }

    Session& m_session;
};

Session::Session(HostOptions options, std::optional<embedder::Application> application, Sink sink)
    : m_application(std::move(application)), m_sink(std::move(sink)) {
    if (m_application) {
        embedder::setBrowser(browserInterface);
        options.interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] = embedder::vendorTable();
    }
    options.onMessage = [this](const Message&) { onMessage(); };
    m_host.emplace(std::move(options));
    const HeldMessages held(*this);
    addInstance({}, m_application);
}

// It throws for want of memory at most, and ends the process then.
Session::~Session() { unload(); }  // NOLINT(bugprone-exception-escape)

void Session::post(std::optional<std::int32_t> instance, const Value& value) {
    m_host->post(idOf(numberFor(instance)), value);
}

void Session::call(std::optional<std::int32_t> instance, const Value& value,
                   std::chrono::milliseconds timeout) {
    const std::int32_t number = numberFor(instance);
    const HeldMessages held(*this);
    const CallResult result = m_host->call(idOf(number), value, timeout);
    switch (result.status) {
        case CallResult::Status::Replied:
            return tell(number, "reply", result.value);
        case CallResult::Status::NotHandled:
            throw RequestError("the call was not handled: no message handler is registered");
        case CallResult::Status::TimedOut:
            throw RequestError("the call was not answered in time");
        case CallResult::Status::InstanceGone:
            throw RequestError("the instance went away during the call");
    }
}

std::int32_t Session::embed(const Attributes& attributes,
                            const std::optional<embedder::Application>& application) {
    if (application && !m_application) throw RequestError("the vendor interface is not offered");
    const HeldMessages held(*this);
    try {
        const std::int32_t number =
            addInstance(attributes, application ? application : m_application);
        tell(number, "embedded", true);
        return number;
    } catch (const EmbedError& error) {
        throw RequestError(error.what());
    }
}

void Session::destroy(std::int32_t instance) {
    const std::int32_t number = numberFor(instance);
    const PP_Instance id = idOf(number);
    m_host->destroy(id);
    embedder::forgetInstance(id);
    m_live.erase(number);
    tell(number, "destroyed", true);
}

void Session::unregister(std::int32_t instance) {
    const std::int32_t number = numberFor(instance);
    m_host->unregister(idOf(number));
    tell(number, "unregistered", true);
}

void Session::wait(std::size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_mutex);
    const std::size_t wanted = m_awaited + count;
    const bool came = m_arrival.wait_for(lock, timeout, [&] { return m_messages >= wanted; });
    const std::size_t counted = came ? count : m_messages - m_awaited;
    m_awaited += counted;
    if (!came) {
        throw RequestError("of " + std::to_string(count) + " messages only " +
                           std::to_string(counted) + " came in time");
    }
}

void Session::waitUntil(const std::function<bool()>& isSo, std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_mutex);
    m_arrival.wait_for(lock, timeout, isSo);
}

std::vector<std::string> Session::unload() {
    m_host->unload();
    for (const auto& entry : m_numbers) embedder::forgetInstance(entry.first);
    std::vector<std::string> problems = m_host->problems();
    for (const std::string& problem : m_host->resourceProblems()) problems.push_back(problem);
    return problems;
}

void Session::onMessage() {
    const std::lock_guard lock(m_mutex);
    if (!m_holding) passMessagesOn();
}

void Session::passMessagesOn() {
    // Taken under the lock, so that they keep the order of arrival whichever thread passes them on.
    for (const Message& message : m_host->takeMessages()) {
        const std::int32_t number = m_numbers[message.instance];
        m_sink({message.time, number, "message", message.value});
        ++m_messages;
    }
    m_arrival.notify_all();
}

void Session::tell(std::int32_t number, const std::string& event, const Value& value) {
    const std::lock_guard lock(m_mutex);
    m_sink({std::chrono::system_clock::now(), number, event, value});
}

std::int32_t Session::addInstance(const Attributes& attributes,
                                  const std::optional<embedder::Application>& application) {
    PP_Instance id = 0;
    try {
        m_host->embed(attributes, [&](PP_Instance created) {
            id = created;
            if (application) embedder::setApplication(id, *application);
        });
    } catch (const EmbedError&) {
        embedder::forgetInstance(id);
        throw;
    }
    const std::int32_t number = ++m_lastNumber;
    m_live[number] = id;
    const std::lock_guard lock(m_mutex);
    m_numbers[id] = number;
    return number;
}

std::int32_t Session::numberFor(std::optional<std::int32_t> instance) {
    if (!instance) {
        if (m_live.empty()) throw RequestError("there is no instance");
        return m_live.begin()->first;
    }
    if (m_live.count(*instance) == 0) {
        throw RequestError("there is no instance " + std::to_string(*instance));
    }
    return *instance;
}

PP_Instance Session::idOf(std::int32_t number) { return m_live.at(number); }

}  // namespace host
