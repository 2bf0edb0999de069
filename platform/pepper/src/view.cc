#include "ppapi/cpp/view.h"

#include "ppapi/c/ppb_view.h"
#include "ppapi/cpp/module_impl.h"

namespace pp {
namespace {

template <>
const char* interface_name<PPB_View_1_0>() {
    return PPB_VIEW_INTERFACE_1_0;
}

using RectOf = PP_Bool (*PPB_View_1_0::*)(PP_Resource, PP_Rect*);

Rect rectFrom(RectOf which, PP_Resource view) {
    PP_Rect rect = PP_MakeRectFromXYWH(0, 0, 0, 0);
    if (const PPB_View_1_0* views = get_interface<PPB_View_1_0>()) {
        (views->*which)(view, &rect);
    }
    return rect;
}

}  // namespace

View::View(PP_Resource view_resource) : Resource(view_resource) {}

Rect View::GetRect() const { return rectFrom(&PPB_View_1_0::GetRect, pp_resource()); }

Rect View::GetClipRect() const { return rectFrom(&PPB_View_1_0::GetClipRect, pp_resource()); }

}  // namespace pp
