// What the folder server is asked: no request leads out of the folder, and no answer says what was asked so that it is
// more than text.
#include <sys/stat.h>

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/write.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <variant>

#include "server/answer.h"
#include "server/byte_range.h"
#include "support/require.h"

namespace {

namespace fs = std::filesystem;
namespace http = boost::beast::http;
using fuzz::require;
using Error = boost::system::error_code;

constexpr const char* kContent = "0123456789abcdef";

void write(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

/// A folder in memory where there is one, with what a request may meet. It goes with the process.
class Folder {
  public:
    Folder() {
        std::string name =
            (fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
            "fuzz-requests-XXXXXX";
        require(mkdtemp(name.data()) != nullptr, "there is a temporary folder");
        m_path = fs::canonical(name);
        fs::create_directories(m_path / "app/sub");
        fs::create_directories(m_path / "app/empty");
        fs::create_directories(m_path / "app/linked");
        write(m_path / "secret", "what lies outside");
        write(m_path / "app/index.html", kContent);
        write(m_path / "app/a b.js", kContent);
        write(m_path / "app/nothing", "");
        write(m_path / "app/sub/index.html", kContent);
        fs::create_symlink("../secret", m_path / "app/out");
        fs::create_symlink("..", m_path / "app/up");
        fs::create_symlink("a b.js", m_path / "app/in.css");
        fs::create_symlink("../../secret", m_path / "app/linked/index.html");
        mkfifo((m_path / "app/pipe").c_str(), 0600);
    }
    ~Folder() { fs::remove_all(m_path); }
    fs::path app() const { return m_path / "app"; }

  private:
    fs::path m_path;
};

/// Takes what a server sends.
struct Sink {
    std::string text;

    template <typename Buffers>
    std::size_t write_some(const Buffers& buffers, Error& error) {
        error = {};
        const std::string more = boost::beast::buffers_to_string(buffers);
        text += more;
        return more.size();
    }
    template <typename Buffers>
    std::size_t write_some(const Buffers& buffers) {
        Error error;
        return write_some(buffers, error);
    }
};

template <typename Response>
void check(Response& response, const browser::Request& request) {
    const unsigned status = response.result_int();
    constexpr unsigned kStatuses[] = {200, 206, 301, 304, 400, 403, 404, 405, 416, 421};
    require(std::count(std::begin(kStatuses), std::end(kStatuses), status) == 1,
            "an answer has a status that there is", std::to_string(status));
    require(response["X-Content-Type-Options"] == "nosniff", "nobody guesses a type");
    require(response["Cross-Origin-Resource-Policy"] == "same-origin", "others get nothing");
    const std::string location(response[http::field::location]);
    require((status == 301) == !location.empty(), "a redirection leads somewhere");
    require(location.empty() || (location[0] == '/' && location.compare(0, 2, "//") != 0 &&
                                 location.compare(0, 2, "/\\") != 0),
            "a redirection stays on this host", location);

    Sink sink;
    Error error;
    http::write(sink, response, error);
    const std::size_t head = sink.text.find("\r\n\r\n");
    require(head != std::string::npos, "an answer has a head");
    const std::string body = sink.text.substr(head + 4);
    if (status != 304) {
        require(response[http::field::content_length] == std::to_string(body.size()),
                "an answer is as long as it says", sink.text);
    }
    if (status == 200 || status == 206) {
        require(std::string(kContent).find(body) != std::string::npos,
                "a file inside the folder is as it is", body);
    } else if (status != 304) {
        // <!DOCTYPE html>, <title>, <h1> and <p>, with their ends
        require(std::count(body.begin(), body.end(), '<') == 7 &&
                    std::count(body.begin(), body.end(), '>') == 7,
                "what was asked is text in an answer", body);
    }
    require(request.method() == http::verb::get || request.method() == http::verb::head ||
                status == 405 || status == 421,
            "files are read and nothing else");
}

void checkRange(const std::string& header) {
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{16},
                                     std::uint64_t{1} << 40U, ~std::uint64_t{0}}) {
        const browser::ByteRange range = browser::rangeOf(header, size);
        const bool isPart = range.kind == browser::ByteRange::Kind::Part;
        require(!isPart ||
                    (range.length > 0 && range.begin < size && range.length <= size - range.begin),
                "a part lies in the file", header);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    static const browser::ServedFolders folders = {{"app.localhost", folder.app()},
                                                   {"localhost:5000", folder.app()}};
    http::request_parser<http::empty_body> parser;
    Error error;
    parser.eager(false);
    parser.put(boost::asio::buffer(data, size), error);
    if (error || !parser.is_header_done()) return 0;
    const browser::Request& request = parser.get();
    checkRange(std::string(request[http::field::range]));
    browser::Answer answer = browser::answerTo(request, folders);
    std::visit([&](auto& response) { check(response, request); }, answer);
    return 0;
}
