#ifndef TESTS_SERVICE_SERVICE_PROCESS_H_
#define TESTS_SERVICE_SERVICE_PROCESS_H_

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

#include "service/bus_address.h"
#include "service/bus_client.h"
#include "temporary_folder.h"

/// The account service of this process's client library, on a private bus below a folder of its own.
class ServiceProcess {
  public:
    /// Made at its first use, which must be before the client library's.
    static ServiceProcess& instance();

    /// Starts the bus when it is not there.
    void requireBus();
    /// Replaces all of the state. @return whether the service took it.
    bool load(const std::string& json);
    /// How many popups the service has open; -1 when it does not tell.
    int openPopups();
    /// Sends a signal to the service, if it runs; starts none.
    void killService(int signal);
    /// The service's process; nothing when it does not run.
    std::optional<pid_t> service() { return processOf(service::kBusName); }
    /// Ends the bus by SIGKILL, and waits until it is gone.
    void killBus();
    /// Starts a process that adds mappings until it is ended.
    pid_t startUser();
    /// Starts a process that is the agent of this process's popups, and waits until it is.
    void startAgent();
    /// Ends it by SIGKILL; nothing when there is none.
    void killAgent();

    /// The file of the state.
    std::filesystem::path database() const;

  private:
    ServiceProcess();
    /// Of a verb of two words: what it tells; nothing when it fails.
    std::optional<std::string> outputOf(const char* subject, const char* verb,
                                        const std::string& input);
    /// Of whoever has the name; nothing when nobody has.
    std::optional<pid_t> processOf(const char* name);

    support::TemporaryFolder m_folder;
    std::optional<service::BusHold> m_bus;
    pid_t m_agent = -1;
};

#endif
