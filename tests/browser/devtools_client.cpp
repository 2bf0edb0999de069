#include "devtools_client.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <nlohmann/json.hpp>

#include "http_client.h"

namespace browser {

void evaluateAsAPerson(int port, const std::string& expression) {
    namespace asio = boost::asio;
    const std::string host = "127.0.0.1:" + std::to_string(port);
    const HttpAnswer list = ask(port, "GET /json/list HTTP/1.1\r\nHost: " + host + "\r\n");
    const auto pages = nlohmann::json::parse(list.body);
    const std::string address = pages.at(0).at("webSocketDebuggerUrl");
    const std::string path = address.substr(address.find("/devtools/"));

    asio::io_context context;
    boost::beast::websocket::stream<asio::ip::tcp::socket> socket(context);
    socket.next_layer().connect(
        {asio::ip::address_v4::loopback(), static_cast<unsigned short>(port)});
    socket.handshake(host, path);
    const nlohmann::json request = {
        {"id", 1},
        {"method", "Runtime.evaluate"},
        {"params", {{"expression", expression}, {"userGesture", true}}}};
    socket.write(asio::buffer(request.dump()));
    boost::beast::flat_buffer answer;
    socket.read(answer);
}

}  // namespace browser
