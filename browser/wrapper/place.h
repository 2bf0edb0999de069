#ifndef BROWSER_WRAPPER_PLACE_H_
#define BROWSER_WRAPPER_PLACE_H_

#include <string>
#include <vector>

#include "embedder/vendor_table.h"

namespace browser {

/// Where a page or an application lies: parts of a URL in the form to which the browser's own parser
/// brings them, so that equal places have equal texts.
struct Place {
    std::string scheme;
    std::string host;  ///< empty for a local file
    std::string port;  ///< empty for the scheme's own
    std::string path;  ///< a folder ends in "/"
};

/// Whether the page lies in the folder, or in a folder below it. Nothing lies in what is no folder.
bool lies(const Place& page, const Place& folder);

/// An application and where it lies.
struct PlacedApplication {
    Place folder;
    embedder::Application application;
};

/// The application that a page belongs to: of several folders around it, that of the innermost.
///
/// @return one without a name and without grants for a page that lies in none.
embedder::Application applicationOf(const Place& page,
                                    const std::vector<PlacedApplication>& applications);

}  // namespace browser

#endif
