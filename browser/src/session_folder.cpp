#include "src/session_folder.h"

#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>

namespace browser {

SessionFolder::SessionFolder() {
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    std::string name = ((error ? "/tmp" : parent) / "sso-browser-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder in " + parent.string() + ": " +
                                 std::strerror(errno));
    }
    m_path = name;
}

SessionFolder::~SessionFolder() { remove(); }

void SessionFolder::remove() const {
    std::error_code ignored;  // there is no one left to tell
    std::filesystem::remove_all(m_path, ignored);
}

}  // namespace browser
