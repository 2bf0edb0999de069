#ifndef SERVICE_BUS_ADDRESS_H_
#define SERVICE_BUS_ADDRESS_H_

#include <filesystem>
#include <memory>
#include <string>

#include "bus_interfaces.h"

namespace service {

/// A bus that has the account service, or starts it when it is called. A private bus lives as long as somebody
/// holds it.
class BusHold {
  public:
    /// The session's bus when it knows the service, else the private one of this user, which is started when it
    /// is not there. Takes up to some seconds.
    ///
    /// @param ssod  the service's program, which keeps the private bus.
    /// @throws std::runtime_error  when there is none, with what to do.
    static BusHold get(const std::filesystem::path& ssod);

    /// Starts the private bus again when it has gone, at the same address; whatever the environment says by now.
    ///
    /// @throws std::runtime_error  when that fails.
    void renew();

    const std::string& address() const { return m_address; }
    bool isPrivate() const { return m_isPrivate; }

  private:
    struct Unref {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    using Bus = std::unique_ptr<sd_bus, Unref>;
    BusHold(std::string address, std::filesystem::path ssod, std::filesystem::path folder)
        : m_address(std::move(address)),
          m_isPrivate(!folder.empty()),
          m_ssod(std::move(ssod)),
          m_folder(std::move(folder)) {}
    static Bus connect(const std::string& address);
    static bool knowsService(sd_bus* bus);

    std::string m_address;
    Bus m_bus;
    bool m_isPrivate;
    std::filesystem::path m_ssod;
    std::filesystem::path m_folder;  ///< of the private bus
};

/// Where the private bus of this user has its socket and what belongs to it. Made for the user alone.
///
/// @throws std::runtime_error  when it belongs to somebody else.
std::filesystem::path privateBusFolder();
/// Its address.
std::string privateBusAddress(const std::filesystem::path& folder);

/// A lock on the folder, which it makes, so that of two programs one starts the bus, and none while it ends.
class FolderLock {
  public:
    explicit FolderLock(const std::filesystem::path& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

  private:
    int m_file = -1;
};

}  // namespace service

#endif
