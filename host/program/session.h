#ifndef HOST_PROGRAM_SESSION_H_
#define HOST_PROGRAM_SESSION_H_

#include <condition_variable>
#include <cstddef>
#include <iosfwd>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "command_line.h"
#include "host/plugin_host.h"
#include "output.h"
#include "request.h"

/// One run: a loaded module, its instances by number, and the lines in and out.
class Session {
  public:
    /// Loads the module and embeds instance 1.
    ///
    /// @throws host::LoadError, host::EmbedError
    explicit Session(const CommandLine& commandLine);

    /// Works off the input, waits for the answers that are due, and unloads the module.
    ///
    /// @return the exit code.
    int run(std::istream& input);

  private:
    struct Instance {
        PP_Instance id = 0;
        std::size_t posted = 0;
        std::size_t arrived = 0;
    };
    class HeldMessages;

    void handle(const Request& request);
    void post(const Request& request);
    void call(const Request& request);
    void embed(const Request& request);
    void destroy(const Request& request);
    void unregister(const Request& request);
    void wait(const Request& request);

    void onMessage();
    // Both: m_mutex is held.
    void printMessages();
    void print(const Fields& fields);

    void printEvent(std::int32_t number, const std::string& event, const host::Value& value);
    void printError(std::size_t line, const std::string& reason);
    /// Messages have to be held meanwhile: they can come before the number is known.
    std::int32_t addInstance(const host::Attributes& attributes);
    /// Number of the instance that a request means. @throws RequestError  when there is none.
    std::int32_t numberFor(const Request& request);
    PP_Instance idOf(std::int32_t number);
    bool outputWorks();
    void waitForAnswers();
    bool reportProblems() const;

    const std::chrono::milliseconds m_linger;
    bool m_hadErrors = false;

    // Guards all below, and the order of output lines. Taken by the message hook, so never held
    // while the module may be waited for.
    std::mutex m_mutex;
    std::condition_variable m_arrival;
    bool m_holding = false;  // a call or an embedding is under way: its own line comes first
    bool m_outputWorks = true;
    std::int32_t m_lastNumber = 0;
    std::map<std::int32_t, Instance> m_live;
    std::map<PP_Instance, std::int32_t> m_numbers;  // also of instances that are gone
    std::size_t m_messages = 0;
    std::size_t m_awaited = 0;  // of m_messages, by earlier "wait" lines

    // Last: destroyed first, while the hook can still use the members above.
    std::optional<host::PluginHost> m_host;
};

#endif
