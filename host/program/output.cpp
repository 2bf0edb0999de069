#include "output.h"

#include <cstdio>
#include <ctime>

#include "host/value_json.h"

std::string isoTime(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch =
        std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(sinceEpoch / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char date[32];
    const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03dZ", static_cast<int>(sinceEpoch % 1000));
    return std::string(date, length) + fraction;
}

bool writeLine(const Fields& fields) {
    std::string line;
    for (const auto& [name, value] : fields) {
        line += (line.empty() ? '{' : ',');
        line += host::writeJson(name) + ':' + host::writeJson(value);
    }
    line += "}\n";
    return std::fwrite(line.data(), 1, line.size(), stdout) == line.size() &&
           std::fflush(stdout) == 0;
}
