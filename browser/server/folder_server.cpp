#include "server/folder_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <chrono>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "server/answer.h"

namespace browser {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::asio::ip::tcp;
using Error = boost::system::error_code;

constexpr std::chrono::minutes kLongestSilence{2};

/// One connection: answers its requests in turn. Lives as long as something waits for it.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(tcp::socket socket, const ServedFolders& folders)
        : m_stream(std::move(socket)), m_folders(folders) {}

    void read() {
        m_parser.emplace();
        m_stream.expires_after(kLongestSilence);
        http::async_read_header(m_stream, m_buffer, *m_parser,
                                [self = shared_from_this()](Error error, std::size_t) {
                                    if (!error) self->answer();
                                });
    }

  private:
    void answer() {
        // A body is not read, so nothing can follow it.
        const bool isLast = !m_parser->is_done();
        Answer answer = answerTo(m_parser->get(), m_folders);
        std::visit(
            [&](auto& response) {
                if (isLast) response.keep_alive(false);
                if (m_parser->get().method() == http::verb::head) {
                    send(http::response<http::empty_body>(std::move(response.base())));
                } else {
                    send(std::move(response));
                }
            },
            answer);
    }

    template <typename Body>
    void send(http::response<Body> response) {
        const auto kept = std::make_shared<http::response<Body>>(std::move(response));
        http::async_write(m_stream, *kept,
                          [self = shared_from_this(), kept](Error error, std::size_t) {
                              if (!error && !kept->need_eof()) self->read();
                          });
    }

    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::empty_body>> m_parser;
    const ServedFolders& m_folders;
};

}  // namespace

class FolderServer::Implementation {
  public:
    explicit Implementation(std::uint16_t port)
        : m_acceptor(m_context, {boost::asio::ip::address_v4::loopback(), port}) {}

    ~Implementation() {
        m_context.stop();
        if (m_thread.joinable()) m_thread.join();
    }

    std::uint16_t port() const { return m_acceptor.local_endpoint().port(); }

    void add(const std::string& host, const std::filesystem::path& folder) {
        m_folders[host] = std::filesystem::canonical(folder);
    }

    void start() {
        accept();
        m_thread = std::thread([this] { m_context.run(); });
    }

  private:
    void accept() {
        m_acceptor.async_accept([this](Error error, tcp::socket socket) {
            if (!error) std::make_shared<Connection>(std::move(socket), m_folders)->read();
            if (error != boost::asio::error::operation_aborted) accept();
        });
    }

    ServedFolders m_folders;
    boost::asio::io_context m_context;
    tcp::acceptor m_acceptor;
    std::thread m_thread;
};

FolderServer::FolderServer(std::uint16_t port) try
    : m_implementation(std::make_unique<Implementation>(port)) {
} catch (const boost::system::system_error& error) {
    throw std::system_error(error.code().value(), std::generic_category());
}
FolderServer::~FolderServer() = default;

std::uint16_t FolderServer::port() const { return m_implementation->port(); }

void FolderServer::add(const std::string& host, const std::filesystem::path& folder) {
    m_implementation->add(host, folder);
}

void FolderServer::start() { m_implementation->start(); }

}  // namespace browser
