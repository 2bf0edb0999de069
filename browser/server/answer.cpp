#include "server/answer.h"

#include <sys/stat.h>

#include <boost/beast/http/verb.hpp>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <utility>

#include "base/markup.h"
#include "server/byte_range.h"
#include "server/content_type.h"
#include "server/folder_path.h"

namespace browser {
namespace {

namespace http = boost::beast::http;
using boost::beast::string_view;

std::string_view plain(string_view text) { return {text.data(), text.size()}; }

/// What every answer has. An application is read by itself alone: neither a frame nor a script of
/// another origin gets at its files. Nothing is used from a cache without asking here.
template <typename Response>
void addCommon(Response& response, const Request& request) {
    response.set(http::field::cache_control, "no-cache");
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    response.set(http::field::x_frame_options, "SAMEORIGIN");
    response.set("X-Content-Type-Options", "nosniff");
    response.version(request.version());
    response.keep_alive(request.keep_alive());
}

http::response<http::string_body> textAnswer(const Request& request, http::status status,
                                             const std::string& why) {
    http::response<http::string_body> response;
    response.result(status);
    addCommon(response, request);
    response.set(http::field::content_type, "text/html; charset=utf-8");
    const std::string title = std::to_string(response.result_int()) + " " +
                              std::string(plain(http::obsolete_reason(status)));
    response.body() = "<!DOCTYPE html><title>" + title + "</title><h1>" + title + "</h1><p>" +
                      base::escapedForMarkup(why) + "</p>\n";
    response.prepare_payload();
    return response;
}

std::string httpDate(std::time_t time) {
    std::tm utc{};
    gmtime_r(&time, &utc);
    char text[40];
    return {text, std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &utc)};
}

/// Another one whenever the file has been written.
std::string entityTag(const struct stat& file) {
    char tag[80];
    std::snprintf(tag, sizeof tag, "\"%llx-%llx-%llx\"",
                  static_cast<unsigned long long>(file.st_mtim.tv_sec),
                  static_cast<unsigned long long>(file.st_mtim.tv_nsec),
                  static_cast<unsigned long long>(file.st_size));
    return tag;
}

/// Whether the one who asks has this very file already.
bool isKnown(const Request& request, const std::string& tag, const std::string& date) {
    const string_view tags = request[http::field::if_none_match];
    if (!tags.empty()) return tags == "*" || tags.find(tag) != string_view::npos;
    return request[http::field::if_modified_since] == date;
}

Answer fileAnswer(const Request& request, const std::filesystem::path& path) {
    http::response<FileBody> response;
    FileBody::value_type& body = response.body();
    boost::system::error_code error;
    body.file.open(path.c_str(), boost::beast::file_mode::read, error);
    struct stat status {};
    if (error || fstat(body.file.native_handle(), &status) != 0) {
        return textAnswer(request, http::status::forbidden, "The file cannot be read.");
    }
    addCommon(response, request);
    const std::string tag = entityTag(status);
    const std::string date = httpDate(status.st_mtim.tv_sec);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    response.set(http::field::etag, tag);
    response.set(http::field::last_modified, date);
    response.set(http::field::accept_ranges, "bytes");
    response.set(http::field::content_type, contentTypeOf(path));
    if (isKnown(request, tag, date)) {
        response.result(http::status::not_modified);
        return response;
    }
    // A part that is to be added to an older version of the file is of no use.
    const string_view version = request[http::field::if_range];
    const bool wantsPart = version.empty() || version == tag || version == date;
    const ByteRange range = rangeOf(wantsPart ? plain(request[http::field::range]) : "", size);
    if (range.kind == ByteRange::Kind::None) {
        auto none = textAnswer(request, http::status::range_not_satisfiable,
                               "The file has " + std::to_string(size) + " bytes.");
        none.set(http::field::content_range, "bytes */" + std::to_string(size));
        return none;
    }
    if (range.kind == ByteRange::Kind::Part) {
        response.result(http::status::partial_content);
        response.set(http::field::content_range,
                     "bytes " + std::to_string(range.begin) + "-" +
                         std::to_string(range.begin + range.length - 1) + "/" +
                         std::to_string(size));
        body.file.seek(range.begin, error);
    }
    body.length = range.length;
    response.content_length(range.length);
    return response;
}

}  // namespace

Answer answerTo(const Request& request, const ServedFolders& folders) {
    const std::string host(plain(request[http::field::host]));
    const auto folder = folders.find(host);
    if (folder == folders.end()) {
        return textAnswer(request, http::status::misdirected_request,
                          "No application is served under this host name: " + host);
    }
    if (request.method() != http::verb::get && request.method() != http::verb::head) {
        auto refusal = textAnswer(request, http::status::method_not_allowed,
                                  "These are files: they can be read, and nothing else.");
        refusal.set(http::field::allow, "GET, HEAD");
        return refusal;
    }
    const std::string_view target = plain(request.target());
    FolderPath found = findInFolder(folder->second, target);
    switch (found.kind) {
        case FolderPath::Kind::File:
            return fileAnswer(request, found.path);
        case FolderPath::Kind::NeedsSlash: {
            auto redirection =
                textAnswer(request, http::status::moved_permanently, "A folder ends in a slash.");
            const std::size_t query = target.find('?');
            // Begins with one slash: two would name a host.
            const std::size_t first = target.find_first_not_of('/');
            redirection.set(
                http::field::location,
                "/" + std::string(target.substr(first, query - first)) + "/" +
                    (query == std::string_view::npos ? std::string()
                                                     : std::string(target.substr(query))));
            return redirection;
        }
        case FolderPath::Kind::Outside:
            return textAnswer(request, http::status::forbidden,
                              "This leads out of the application's folder: " + std::string(target));
        case FolderPath::Kind::NoPath:
            return textAnswer(request, http::status::bad_request,
                              "This is no path: " + std::string(target));
        case FolderPath::Kind::NotFound:
            break;
    }
    return textAnswer(request, http::status::not_found,
                      "The application's folder has no file " + std::string(target));
}

}  // namespace browser
