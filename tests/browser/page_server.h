#ifndef BROWSER_PAGE_SERVER_H_
#define BROWSER_PAGE_SERVER_H_

#include <string>
#include <thread>

namespace browser {

/// A web server on the loopback interface that gives the same page for every address.
class PageServer {
  public:
    /// @throws std::system_error  when there is no port to be had.
    explicit PageServer(std::string page);
    ~PageServer();
    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;

    /// Its origin by a name of this machine, "http://127.0.0.1:8000".
    std::string origin(const std::string& host = "127.0.0.1") const;

  private:
    void serve() const;

    const std::string m_page;
    int m_socket = -1;
    int m_port = 0;
    std::thread m_thread;
};

}  // namespace browser

#endif
