#ifndef BROWSER_HTTP_CLIENT_H_
#define BROWSER_HTTP_CLIENT_H_

#include <map>
#include <string>

namespace browser {

struct HttpAnswer {
    int status = 0;
    std::map<std::string, std::string> headers;  ///< names in small letters
    std::string body;
};

/// Sends a request to a server on the loopback interface and reads one answer.
///
/// @param request  all of its head but the end: "GET / HTTP/1.1\r\nHost: x\r\n".
/// @throws std::system_error  when there is no answer.
HttpAnswer ask(int port, const std::string& request);

}  // namespace browser

#endif
