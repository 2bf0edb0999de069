#ifndef BROWSER_APPLICATION_H_
#define BROWSER_APPLICATION_H_

#include <QUrl>
#include <vector>

#include "embedder/vendor_table.h"
#include "src/options.h"

namespace browser {

/// A web application that is to run.
struct Application {
    QUrl start;
    /// Its folder, or its origin with the path "/": pages below it are the application's. Empty for
    /// a URL of another kind, whose pages nothing can be granted.
    QUrl place;
    embedder::Application told;  ///< to the instances in its pages
};

/// Reads what the options name: the folders, the manifests, the grants.
///
/// @return one for each target.
/// @throws embedder::InputError  when a file is missing or wrong, or two targets are one application.
std::vector<Application> findApplications(const Options& options);

}  // namespace browser

#endif
