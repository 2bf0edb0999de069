#ifndef CONTRACT_PAGE_H_
#define CONTRACT_PAGE_H_

#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "contract.h"

namespace contract {

/// A page with the plug-in in it, on some host. It is made for a setting, for one visit.
class Page {
  public:
    /// What came.
    struct Received {
        /// One for each request, in their order; fewer when a request had none, which ends the visit.
        std::vector<nlohmann::json> answers;
        /// Whatever else the plug-in posted.
        std::vector<nlohmann::json> left;
    };

    virtual ~Page() = default;

    /// Makes the requests, each after the answer to the one before.
    virtual Received send(const std::vector<Row>& rows) = 0;
};

/// Opens a page on one host.
using OpenPage = std::unique_ptr<Page> (*)(const Setting&);

}  // namespace contract

#endif
