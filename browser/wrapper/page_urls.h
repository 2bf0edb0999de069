#ifndef BROWSER_WRAPPER_PAGE_URLS_H_
#define BROWSER_WRAPPER_PAGE_URLS_H_

#include <optional>
#include <string>

#include "ppapi/c/ppb.h"
#include "ppapi/c/ppb_var.h"
#include "wrapper/place.h"

namespace browser {

struct UrlTable;

/// What the browser knows of URLs. The module's main thread.
class PageUrls {
  public:
    /// @throws std::runtime_error  when this browser does not tell.
    explicit PageUrls(PPB_GetInterface getInterface);

    /// Where the page lies in which an instance is embedded. The browser knows; a page cannot make
    /// it say anything else. Nothing for an instance that is not there.
    std::optional<Place> pageOf(PP_Instance instance) const;

    /// Where a URL points. Nothing for a text that is none.
    std::optional<Place> placeOf(const std::string& url) const;

  private:
    const UrlTable* m_urls;
    const PPB_Var* m_vars;
};

}  // namespace browser

#endif
