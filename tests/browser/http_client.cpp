#include "http_client.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>

namespace browser {

HttpAnswer ask(int port, const std::string& request) {
    namespace asio = boost::asio;
    namespace http = boost::beast::http;
    asio::io_context context;
    asio::ip::tcp::socket socket(context);
    socket.connect({asio::ip::address_v4::loopback(), static_cast<unsigned short>(port)});
    asio::write(socket, asio::buffer(request + "\r\n"));
    boost::beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.skip(request.rfind("HEAD ", 0) == 0);
    http::read(socket, buffer, parser);
    HttpAnswer answer;
    answer.status = static_cast<int>(parser.get().result_int());
    for (const auto& field : parser.get()) {
        std::string name(field.name_string());
        for (char& letter : name) letter = static_cast<char>(std::tolower(letter));
        answer.headers[name] = std::string(field.value());
    }
    answer.body = parser.get().body();
    return answer;
}

}  // namespace browser
