#ifndef BROWSER_SERVER_FOLDER_PATH_H_
#define BROWSER_SERVER_FOLDER_PATH_H_

#include <filesystem>
#include <string_view>

namespace browser {

/// What the target of a request stands for in a folder.
struct FolderPath {
    enum class Kind {
        File,        ///< `path` is a regular file, without links, inside the folder
        NeedsSlash,  ///< a folder whose address has to end in "/"
        NotFound,    ///< nothing, or nothing that is a file
        Outside,     ///< something that leads out of the folder
        NoPath,      ///< no path at all, or one with a wrong encoding
    };
    Kind kind;
    std::filesystem::path path;
};

/// @param folder  canonical: absolute and without links.
/// @param target  of the request: "/a/b%20c.html?query". A folder stands for its index.html.
FolderPath findInFolder(const std::filesystem::path& folder, std::string_view target);

}  // namespace browser

#endif
