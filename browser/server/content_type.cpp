#include "server/content_type.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace browser {

std::string contentTypeOf(const std::filesystem::path& file) {
    static const std::map<std::string_view, const char*> types = {
        {".aac", "audio/aac"},
        {".avif", "image/avif"},
        {".bmp", "image/bmp"},
        {".cjs", "text/javascript; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".csv", "text/csv; charset=utf-8"},
        {".flac", "audio/flac"},
        {".gif", "image/gif"},
        {".htm", "text/html; charset=utf-8"},
        {".html", "text/html; charset=utf-8"},
        {".ico", "image/x-icon"},
        {".jpeg", "image/jpeg"},
        {".jpg", "image/jpeg"},
        {".js", "text/javascript; charset=utf-8"},
        {".json", "application/json"},
        {".m4a", "audio/mp4"},
        {".m4v", "video/mp4"},
        {".map", "application/json"},
        {".md", "text/markdown; charset=utf-8"},
        {".mjs", "text/javascript; charset=utf-8"},
        {".mp3", "audio/mpeg"},
        {".mp4", "video/mp4"},
        {".oga", "audio/ogg"},
        {".ogg", "audio/ogg"},
        {".ogv", "video/ogg"},
        {".opus", "audio/ogg"},
        {".otf", "font/otf"},
        {".pdf", "application/pdf"},
        {".png", "image/png"},
        {".svg", "image/svg+xml"},
        {".ttf", "font/ttf"},
        {".txt", "text/plain; charset=utf-8"},
        {".vtt", "text/vtt; charset=utf-8"},
        {".wasm", "application/wasm"},
        {".wav", "audio/wav"},
        {".weba", "audio/webm"},
        {".webm", "video/webm"},
        {".webmanifest", "application/manifest+json"},
        {".webp", "image/webp"},
        {".woff", "font/woff"},
        {".woff2", "font/woff2"},
        {".xhtml", "application/xhtml+xml"},
        {".xml", "application/xml"},
        {".zip", "application/zip"},
    };
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    const auto found = types.find(extension);
    return found == types.end() ? "application/octet-stream" : found->second;
}

}  // namespace browser
