// sso-host's input lines: what is understood is in its bounds and means the same when it is written anew, what is not
// is refused in one line.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "host/program/request.h"
#include "host/session.h"
#include "host/value_json.h"
#include "support/require.h"

namespace {

using Verb = Request::Verb;

void requireOneLine(const std::string& told) {
    fuzz::require(!told.empty(), "a refusal says why");
    fuzz::require(
        std::none_of(told.begin(), told.end(), [](unsigned char letter) { return letter < ' '; }),
        "a refusal is one line", told);
}

bool isSame(const Request& one, const Request& other) {
    return one.verb == other.verb && one.value == other.value &&
           one.attributes == other.attributes && one.count == other.count &&
           one.instance == other.instance && one.recordedInstance == other.recordedInstance &&
           one.timeout == other.timeout &&
           one.application.has_value() == other.application.has_value() &&
           (!one.application || one.application->grants == other.application->grants);
}

void play(const std::string& line) {
    if (isComment(line)) return;
    Request request;
    try {
        request = parseRequest(line);
    } catch (const host::RequestError& error) {
        return requireOneLine(error.what());
    }
    fuzz::require(
        request.timeout >= std::chrono::seconds(0) && request.timeout <= std::chrono::hours(24),
        "a wait is at most a day", line);
    fuzz::require(!request.instance || *request.instance >= 1, "an instance's number is positive",
                  line);
    fuzz::require(request.verb != Verb::Wait || request.count >= 1, "a wait is for something",
                  line);
    fuzz::require((request.verb != Verb::Destroy && request.verb != Verb::Unregister) ||
                      request.instance.has_value(),
                  "what ends an instance names it", line);
    commandOf(request.value);

    const host::Value value = host::parseJson(line);
    const std::string written = host::writeJson(value);
    fuzz::require(host::parseJson(written) == value, "a value reads back as it was", written);
    fuzz::require(isSame(parseRequest(written), request), "a line means what it says", written);
    std::ostringstream shown;
    shown << value;
    requireOneLine(shown.str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
    for (std::string line; std::getline(lines, line);) play(line);
    return 0;
}
