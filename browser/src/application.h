#ifndef BROWSER_APPLICATION_H_
#define BROWSER_APPLICATION_H_

#include <QUrl>
#include <set>
#include <string>

#include "src/options.h"

namespace browser {

/// The web application that is to run.
struct Application {
    QUrl start;
    std::string name;
    std::set<std::string> privileges;  ///< full identifiers
};

/// Reads what the options name: the folder, the manifest, the grants.
///
/// @throws StartError  when a file is missing or wrong.
Application findApplication(const Options& options);

}  // namespace browser

#endif
