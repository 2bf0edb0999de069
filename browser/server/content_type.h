#ifndef BROWSER_SERVER_CONTENT_TYPE_H_
#define BROWSER_SERVER_CONTENT_TYPE_H_

#include <filesystem>
#include <string>

namespace browser {

/// The media type that a file's name stands for; text is UTF-8.
std::string contentTypeOf(const std::filesystem::path& file);

}  // namespace browser

#endif
