#ifndef BROWSER_SERVER_FOLDER_SERVER_H_
#define BROWSER_SERVER_FOLDER_SERVER_H_

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace browser {

/// Serves folders by HTTP, on the loopback interface, each under a host name of its own. On a thread
/// of its own, from start() until the object goes.
class FolderServer {
  public:
    /// Listens.
    ///
    /// @param port  0 for any that is free.
    /// @throws std::system_error  when the port is taken.
    explicit FolderServer(std::uint16_t port);
    ~FolderServer();
    FolderServer(const FolderServer&) = delete;
    FolderServer& operator=(const FolderServer&) = delete;

    std::uint16_t port() const;

    /// Before start().
    ///
    /// @param host  what the "Host" of a request has to be, with the port where there is one.
    void add(const std::string& host, const std::filesystem::path& folder);

    void start();

  private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

}  // namespace browser

#endif
