#include "session.h"

#include <algorithm>
#include <iostream>
#include <istream>

#include "host/browser_interfaces.h"
#include "runtime/development_extension.h"

using host::CallResult;
using host::Value;

namespace {

host::PluginHost::Options optionsFor(const CommandLine& commandLine) {
    host::PluginHost::Options options;
    options.modulePath = commandLine.modulePath;
    options.onConsole = [](const std::string& line) {
        std::cerr << "console: " + line + "\n";  // in one piece, as other threads write too
    };
    if (commandLine.extension) {
        runtime::DevelopmentExtension extension;
        extension.getInterface = host::browserInterface;
        extension.applicationName = commandLine.applicationName;
        extension.grants = commandLine.grants;
        runtime::configureDevelopmentExtension(extension);
        options.interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] =
            runtime::developmentExtensionTable();
    }
    return options;
}

bool isBlank(const std::string& line) {
    return line.find_first_not_of(" \t\r") == std::string::npos;
}

}  // namespace

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

Session::Session(const CommandLine& commandLine) : m_linger(commandLine.linger) {
    host::PluginHost::Options options = optionsFor(commandLine);
    options.onMessage = [this](const host::Message&) { onMessage(); };
    m_host.emplace(std::move(options));
    const HeldMessages held(*this);
    addInstance({});
}

int Session::run(std::istream& input) {
    std::string line;
    for (std::size_t number = 1; outputWorks() && std::getline(input, line); ++number) {
        if (isBlank(line)) continue;
        try {
            handle(parseRequest(line));
        } catch (const RequestError& error) {
            printError(number, error.what());
        }
    }
    if (outputWorks()) waitForAnswers();
    m_host->unload();
    if (!outputWorks()) {
        std::cerr << "sso-host: cannot write to standard output\n";
        m_hadErrors = true;
    }
    if (reportProblems()) return kReferenceProblems;
    return m_hadErrors ? kLineErrors : kAllWell;
}

void Session::handle(const Request& request) {
    switch (request.verb) {
        case Request::Verb::Post:
            return post(request);
        case Request::Verb::Call:
            return call(request);
        case Request::Verb::Embed:
            return embed(request);
        case Request::Verb::Destroy:
            return destroy(request);
        case Request::Verb::Unregister:
            return unregister(request);
        case Request::Verb::Wait:
            return wait(request);
    }
}

void Session::post(const Request& request) {
    const std::int32_t number = numberFor(request);
    {
        const std::lock_guard lock(m_mutex);
        ++m_live.at(number).posted;
    }
    m_host->post(idOf(number), request.value);
}

void Session::call(const Request& request) {
    const std::int32_t number = numberFor(request);
    const HeldMessages held(*this);
    const CallResult result = m_host->call(idOf(number), request.value, request.timeout);
    switch (result.status) {
        case CallResult::Status::Replied:
            return printEvent(number, "reply", result.value);
        case CallResult::Status::NotHandled:
            throw RequestError("the call was not handled: no message handler is registered");
        case CallResult::Status::TimedOut:
            throw RequestError("the call was not answered in time");
        case CallResult::Status::InstanceGone:
            throw RequestError("the instance went away during the call");
    }
}

void Session::embed(const Request& request) {
    const HeldMessages held(*this);
    try {
        printEvent(addInstance(request.attributes), "embedded", true);
    } catch (const host::EmbedError& error) {
        throw RequestError(error.what());
    }
}

void Session::destroy(const Request& request) {
    const std::int32_t number = numberFor(request);
    m_host->destroy(idOf(number));
    {
        const std::lock_guard lock(m_mutex);
        m_live.erase(number);
    }
    printEvent(number, "destroyed", true);
}

void Session::unregister(const Request& request) {
    const std::int32_t number = numberFor(request);
    m_host->unregister(idOf(number));
    printEvent(number, "unregistered", true);
}

void Session::wait(const Request& request) {
    std::unique_lock lock(m_mutex);
    const std::size_t wanted = m_awaited + request.count;
    const bool came =
        m_arrival.wait_for(lock, request.timeout, [&] { return m_messages >= wanted; });
    const std::size_t counted = came ? request.count : m_messages - m_awaited;
    m_awaited += counted;
    if (!came) {
        throw RequestError("of " + std::to_string(request.count) + " messages only " +
                           std::to_string(counted) + " came in time");
    }
}

void Session::onMessage() {
    const std::lock_guard lock(m_mutex);
    if (!m_holding) printMessages();
}

void Session::printMessages() {
    // Taken under the lock, so that lines keep the order of arrival whichever thread prints them.
    for (const host::Message& message : m_host->takeMessages()) {
        const std::int32_t number = m_numbers[message.instance];
        print({{"time", isoTime(message.time)}, {"instance", number}, {"message", message.value}});
        const auto live = m_live.find(number);
        if (live != m_live.end()) ++live->second.arrived;
        ++m_messages;
    }
    m_arrival.notify_all();
}

void Session::print(const Fields& fields) { m_outputWorks = m_outputWorks && writeLine(fields); }

void Session::printEvent(std::int32_t number, const std::string& event, const Value& value) {
    const std::lock_guard lock(m_mutex);
    print({{"time", isoTime(std::chrono::system_clock::now())},
           {"instance", number},
           {event, value}});
}

void Session::printError(std::size_t line, const std::string& reason) {
    const std::lock_guard lock(m_mutex);
    m_hadErrors = true;
    const double number = static_cast<double>(line);
    const Value lineNumber = line <= 0x7fffffff ? Value(static_cast<std::int32_t>(line)) : number;
    print({{"error", Value::Dictionary{{"line", lineNumber}, {"reason", reason}}}});
}

std::int32_t Session::addInstance(const host::Attributes& attributes) {
    const PP_Instance id = m_host->embed(attributes);
    const std::lock_guard lock(m_mutex);
    const std::int32_t number = ++m_lastNumber;
    m_live[number].id = id;
    m_numbers[id] = number;
    return number;
}

std::int32_t Session::numberFor(const Request& request) {
    const std::lock_guard lock(m_mutex);
    if (!request.instance) {
        if (m_live.empty()) throw RequestError("there is no instance");
        return m_live.begin()->first;
    }
    if (m_live.count(*request.instance) == 0) {
        throw RequestError("there is no instance " + std::to_string(*request.instance));
    }
    return *request.instance;
}

PP_Instance Session::idOf(std::int32_t number) {
    const std::lock_guard lock(m_mutex);
    return m_live.at(number).id;
}

bool Session::outputWorks() {
    const std::lock_guard lock(m_mutex);
    return m_outputWorks;
}

void Session::waitForAnswers() {
    std::unique_lock lock(m_mutex);
    m_arrival.wait_for(lock, m_linger, [&] {
        return std::all_of(m_live.begin(), m_live.end(), [](const auto& entry) {
            return entry.second.arrived >= entry.second.posted;
        });
    });
}

bool Session::reportProblems() const {
    std::vector<std::string> problems = m_host->problems();
    for (const std::string& problem : m_host->resourceProblems()) problems.push_back(problem);
    for (const std::string& problem : problems) std::cerr << "sso-host: " + problem + "\n";
    return !problems.empty();
}
