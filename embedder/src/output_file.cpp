#include "embedder/output_file.h"

#include <fcntl.h>

#include <string>

namespace embedder {

std::FILE* openOutputFile(const std::filesystem::path& path, const char* what) {
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    const bool fits = type == std::filesystem::file_type::not_found ||
                      type == std::filesystem::file_type::regular ||
                      type == std::filesystem::file_type::character;
    const int opened =
        fits ? open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600) : -1;
    std::FILE* file = opened >= 0 ? fdopen(opened, "w") : nullptr;
    if (file == nullptr) {
        throw InputError(std::string(what) + " " + path.string() + " cannot be written");
    }
    return file;
}

}  // namespace embedder
