#ifndef SERVICE_DESK_H_
#define SERVICE_DESK_H_

#include <optional>
#include <string>

#include "process.h"
#include "service/bus_address.h"
#include "temporary_folder.h"

/// The built programs with a private bus and states of their own. One at a time; waits at its end until the bus
/// has ended.
class Desk {
  public:
    enum class Bus { Held, StartedByPrograms };

    /// @param bus  a program that starts it hands it its standard error, which then ends with the bus alone.
    explicit Desk(Bus bus = Bus::Held);
    ~Desk();
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;

    /// Runs a script, which finds the programs by their names.
    ///
    /// @param folder  where; "" for one of its own, which stays.
    support::ProcessResult bash(const std::string& script, const std::string& folder = "");
    /// Of a script that must succeed: its output.
    std::string output(const std::string& script);

    const support::TemporaryFolder& folder() const { return m_folder; }

  private:
    support::TemporaryFolder m_folder;
    std::optional<service::BusHold> m_bus;
};

#endif
