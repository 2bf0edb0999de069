#ifndef BROWSER_APPLICATION_H_
#define BROWSER_APPLICATION_H_

#include <QUrl>
#include <filesystem>
#include <vector>

#include "embedder/vendor_table.h"
#include "src/options.h"

namespace browser {

/// A web application that is to run.
struct Application {
    QUrl start;
    /// With the path "/". Documents of this origin are the application's. Empty for a URL of a kind
    /// that has none, whose pages nothing can be granted.
    QUrl origin;
    std::filesystem::path folder;  ///< to be served under the origin; empty for a URL
    embedder::Application told;    ///< to the instances in its pages
};

/// Reads what the options name: the folders, the manifests, the grants.
///
/// A folder has the origin http://NAME.localhost, where NAME is made of the folder's path: the same on
/// every run, and another one for another folder. A host of one word below "localhost" can share
/// neither cookies nor "document.domain" with another, and what only secure pages may do works.
///
/// @return one for each target.
/// @throws embedder::InputError  when a file is missing or wrong, or two targets are one application.
std::vector<Application> findApplications(const Options& options);

}  // namespace browser

#endif
