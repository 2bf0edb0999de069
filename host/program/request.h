#ifndef HOST_PROGRAM_REQUEST_H_
#define HOST_PROGRAM_REQUEST_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "host/plugin_host.h"
#include "host/value.h"

/// An input line that makes no sense, or asks for what is not there. what() is one line.
class RequestError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// One input line.
struct Request {
    enum class Verb { Post, Call, Embed, Destroy, Unregister, Wait };
    Verb verb = Verb::Post;
    host::Value value;                     ///< post, call
    host::Attributes attributes;           ///< embed
    std::size_t count = 0;                 ///< wait
    std::optional<std::int32_t> instance;  ///< always with destroy and unregister
    std::chrono::milliseconds timeout{30000};
};

/// @throws RequestError
Request parseRequest(const std::string& line);

#endif
