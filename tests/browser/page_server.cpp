#include "page_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace browser {

PageServer::PageServer(std::string page) : m_page(std::move(page)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* anyAddress = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    m_socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_socket < 0 || bind(m_socket, anyAddress, size) != 0 || listen(m_socket, 16) != 0 ||
        getsockname(m_socket, anyAddress, &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "a server on the loopback");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

PageServer::~PageServer() {
    shutdown(m_socket, SHUT_RDWR);  // accept() returns
    m_thread.join();
    close(m_socket);
}

std::string PageServer::origin(const std::string& host) const {
    return "http://" + host + ":" + std::to_string(m_port);
}

void PageServer::serve() const {
    const std::string answer =
        "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nConnection: close\r\n"
        "Content-Length: " +
        std::to_string(m_page.size()) + "\r\n\r\n" + m_page;
    for (;;) {
        const int connection = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) return;
        std::string request;
        char part[4096];
        while (request.find("\r\n\r\n") == std::string::npos) {
            const ssize_t count = read(connection, part, sizeof part);
            if (count <= 0) break;
            request.append(part, static_cast<std::size_t>(count));
        }
        for (std::size_t sent = 0; sent < answer.size();) {
            const ssize_t count =
                send(connection, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) break;
            sent += static_cast<std::size_t>(count);
        }
        close(connection);
    }
}

}  // namespace browser
