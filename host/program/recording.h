#ifndef HOST_PROGRAM_RECORDING_H_
#define HOST_PROGRAM_RECORDING_H_

#include <cstddef>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "record.h"

/// The messages of a file that --messages has written, in its order.
struct Recording {
    struct Message {
        std::size_t line = 0;
        Record record;        ///< instances are numbered in the order of their first messages
        bool isCut = false;   ///< a request's instance has gone before the answer came
        std::string command;  ///< of a request, and of the one that an answer is for
        std::optional<std::size_t>
            partner;                  ///< index of the request's answer, or the answer's request
        nlohmann::ordered_json json;  ///< of an answer, to compare with
    };

    std::string name;  ///< of the file
    std::vector<Message> messages;
};

/// Which request a recorded answer is for is found out as a page does. What an element says that has lost
/// its handler is left out: it is about an end, which no recording has.
///
/// @throws embedder::InputError  for a file that cannot be read, has bad lines, or has no requests.
Recording readRecording(const std::string& path);

/// @param name  of the file, for what is told.
/// @throws embedder::InputError  as above.
Recording readRecording(std::istream& file, const std::string& name);

#endif
