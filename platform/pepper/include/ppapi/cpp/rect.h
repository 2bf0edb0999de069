#ifndef PPAPI_CPP_RECT_H_
#define PPAPI_CPP_RECT_H_

#include "ppapi/c/pp_rect.h"

namespace pp {

/// A rectangle in the page's pixels.
class Rect {
  public:
    Rect() : rect_(PP_MakeRectFromXYWH(0, 0, 0, 0)) {}
    Rect(const PP_Rect& rect) : rect_(rect) {}  // NOLINT(google-explicit-constructor): Pepper's API

    int32_t x() const { return rect_.point.x; }
    int32_t y() const { return rect_.point.y; }
    int32_t width() const { return rect_.size.width; }
    int32_t height() const { return rect_.size.height; }

  private:
    PP_Rect rect_;
};

}  // namespace pp

#endif
