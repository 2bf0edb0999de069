#ifndef BROWSER_WRAPPER_DOCUMENTS_H_
#define BROWSER_WRAPPER_DOCUMENTS_H_

#include <string>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/ppb.h"
#include "ppapi/c/ppb_var.h"

namespace browser {

struct UrlTable;

/// What the browser knows of the documents in which instances are embedded; a page cannot make it
/// say anything else. The module's main thread.
class Documents {
  public:
    /// @throws std::runtime_error  when this browser does not tell.
    explicit Documents(PPB_GetInterface getInterface);

    /// Whether an instance's document is of an origin. Its address alone would not tell: a frame
    /// that is sandboxed has the address of its page but no origin, one that is written by its page
    /// has the page's origin but no address.
    ///
    /// @param origin  as a URL, "http://localhost:8000/".
    bool isOf(PP_Instance instance, const std::string& origin) const;

    /// The document's address; empty for an instance that is not there.
    std::string addressOf(PP_Instance instance) const;

  private:
    const UrlTable* m_urls;
    const PPB_Var* m_vars;
};

}  // namespace browser

#endif
