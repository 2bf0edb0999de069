#ifndef FUZZ_SUPPORT_MISTAKES_H_
#define FUZZ_SUPPORT_MISTAKES_H_

#include <cctype>
#include <sstream>
#include <string>

#include "support/require.h"

namespace fuzz {

/// What a person is told of a file: a line for each mistake, which begins with the file and the line in it, and has
/// nothing that a terminal obeys.
inline void requireMistakes(const std::string& told, const std::string& file) {
    require(!told.empty(), "a file that is refused is told why");
    std::istringstream lines(told);
    for (std::string line; std::getline(lines, line);) {
        const std::string begin = file + ":";
        require(line.compare(0, begin.size(), begin) == 0 && line.size() > begin.size() &&
                    std::isdigit(static_cast<unsigned char>(line[begin.size()])) != 0,
                "a mistake is told with the file and the line", line);
        for (const char letter : line) {
            require(std::iscntrl(static_cast<unsigned char>(letter)) == 0,
                    "no control character is told", line);
        }
    }
}

}  // namespace fuzz

#endif
