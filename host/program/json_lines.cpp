#include "json_lines.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "host/session.h"
#include "host/value_json.h"
#include "request.h"

namespace {

using host::Value;

/// Members of an output line, in order.
using Fields = std::vector<std::pair<std::string, Value>>;

/// "2024-05-01T12:00:00.123Z"
std::string isoTime(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch =
        std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(sinceEpoch / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char date[32];
    const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03dZ", static_cast<int>(sinceEpoch % 1000));
    return std::string(date, length) + fraction;
}

/// Standard output. Any thread.
class Output {
  public:
    /// Writes one object as a line, in one piece and at once.
    void write(const Fields& fields) {
        std::string line;
        for (const auto& [name, value] : fields) {
            line += (line.empty() ? '{' : ',');
            line += host::writeJson(name) + ':' + host::writeJson(value);
        }
        line += "}\n";
        if (!m_works) return;
        m_works = std::fwrite(line.data(), 1, line.size(), stdout) == line.size() &&
                  std::fflush(stdout) == 0;
    }

    /// Whether it took everything so far.
    bool works() const { return m_works; }

  private:
    std::atomic<bool> m_works = true;
};

host::HostOptions optionsFor(const CommandLine& commandLine) {
    host::HostOptions options;
    options.modulePath = commandLine.common.module;
    options.onConsole = [](const std::string& line) {
        std::cerr << "console: " + line + "\n";  // in one piece, as other threads write too
    };
    return options;
}

bool isBlank(const std::string& line) {
    return line.find_first_not_of(" \t\r") == std::string::npos;
}

void handle(host::Session& session, const Request& request) {
    switch (request.verb) {
        case Request::Verb::Post:
            return session.post(request.instance, request.value);
        case Request::Verb::Call:
            return session.call(request.instance, request.value, request.timeout);
        case Request::Verb::Embed:
            return session.embed(request.attributes, request.application);
        case Request::Verb::Destroy:
            return session.destroy(*request.instance);
        case Request::Verb::Unregister:
            return session.unregister(*request.instance);
        case Request::Verb::Wait:
            return session.wait(request.count, request.timeout);
    }
}

Value errorIn(std::size_t line, const std::string& reason) {
    const double number = static_cast<double>(line);
    const Value lineNumber = line <= 0x7fffffff ? Value(static_cast<std::int32_t>(line)) : number;
    return Value::Dictionary{{"line", lineNumber}, {"reason", reason}};
}

}  // namespace

int playJsonLines(const CommandLine& commandLine) {
    Output output;
    host::Session session(optionsFor(commandLine), commandLine.application,
                          [&output](const host::Event& event) {
                              output.write({{"time", isoTime(event.time)},
                                            {"instance", event.instance},
                                            {event.name, event.value}});
                          });
    bool hadErrors = false;
    std::string line;
    for (std::size_t number = 1; output.works() && std::getline(std::cin, line); ++number) {
        if (isBlank(line)) continue;
        try {
            handle(session, parseRequest(line));
        } catch (const host::RequestError& error) {
            output.write({{"error", errorIn(number, error.what())}});
            hadErrors = true;
        }
    }
    if (output.works()) session.waitForAnswers(commandLine.linger);
    const std::vector<std::string> problems = session.unload();
    if (!output.works()) {
        std::cerr << "sso-host: cannot write to standard output\n";
        hadErrors = true;
    }
    for (const std::string& problem : problems) std::cerr << "sso-host: " + problem + "\n";
    if (!problems.empty()) return kReferenceProblems;
    return hadErrors ? kLineErrors : kAllWell;
}
