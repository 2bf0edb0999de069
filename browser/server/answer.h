#ifndef BROWSER_SERVER_ANSWER_H_
#define BROWSER_SERVER_ANSWER_H_

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <filesystem>
#include <map>
#include <string>
#include <variant>

#include "server/file_body.h"

namespace browser {

/// The folders that a server serves, by what a request's "Host" has to be. Canonical paths.
using ServedFolders = std::map<std::string, std::filesystem::path>;

using Request = boost::beast::http::request<boost::beast::http::empty_body>;

/// To HEAD the same as to GET; what sends it leaves the body out.
using Answer = std::variant<boost::beast::http::response<FileBody>,
                            boost::beast::http::response<boost::beast::http::string_body>>;

/// What a request gets: a file, a part of one, or a page that says why not.
Answer answerTo(const Request& request, const ServedFolders& folders);

}  // namespace browser

#endif
