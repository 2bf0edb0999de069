#ifndef PPAPI_CPP_VIEW_H_
#define PPAPI_CPP_VIEW_H_

#include "ppapi/cpp/rect.h"
#include "ppapi/cpp/resource.h"

namespace pp {

/// Where and how an instance is shown, as of one moment.
class View : public Resource {
  public:
    View() = default;
    /// Adds a reference.
    explicit View(PP_Resource view_resource);

    /// Both are empty when the browser cannot tell.
    Rect GetRect() const;
    Rect GetClipRect() const;
};

}  // namespace pp

#endif
