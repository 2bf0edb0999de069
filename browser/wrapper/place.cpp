#include "wrapper/place.h"

namespace browser {

bool lies(const Place& page, const Place& folder) {
    return !folder.path.empty() && folder.path.back() == '/' && page.scheme == folder.scheme &&
           page.host == folder.host && page.port == folder.port &&
           page.path.compare(0, folder.path.size(), folder.path) == 0;
}

embedder::Application applicationOf(const Place& page,
                                    const std::vector<PlacedApplication>& applications) {
    const PlacedApplication* innermost = nullptr;
    for (const PlacedApplication& candidate : applications) {
        if (lies(page, candidate.folder) &&
            (innermost == nullptr || lies(candidate.folder, innermost->folder))) {
            innermost = &candidate;
        }
    }
    return innermost == nullptr ? embedder::Application{} : innermost->application;
}

}  // namespace browser
