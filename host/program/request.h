#ifndef HOST_PROGRAM_REQUEST_H_
#define HOST_PROGRAM_REQUEST_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "embedder/vendor_table.h"
#include "host/options.h"
#include "host/value.h"
#include "record.h"

/// One input line.
struct Request {
    enum class Verb { Post, Call, Embed, Destroy, Unregister, Wait, Nothing };
    Verb verb = Verb::Post;
    host::Value value;            ///< post, call
    host::Attributes attributes;  ///< embed
    /// embed: the instance's application; nothing: the command line's.
    std::optional<embedder::Application> application;
    std::size_t count = 0;                 ///< wait
    std::optional<std::int32_t> instance;  ///< always with destroy and unregister
    /// The number that the instance had in the run of which this is a record. That run's instances become
    /// instances of this one.
    std::optional<std::int32_t> recordedInstance;
    std::chrono::milliseconds timeout{30000};
};

/// Whether a line says nothing to do.
bool isComment(const std::string& line);

/// The text under "command"; empty when there is none.
std::string commandOf(const host::Value& message);

/// What sends a recorded request again.
Request requestOf(const Record& record);

/// @throws host::RequestError  for a line that makes no sense.
Request parseRequest(const std::string& line);

#endif
