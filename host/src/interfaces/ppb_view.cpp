#include "ppapi/c/pp_rect.h"
#include "resource_table.h"
#include "tables.h"

namespace host {
namespace {

// The size that a page gives an element that states none; always visible.
constexpr int32_t kWidth = 300;
constexpr int32_t kHeight = 150;

PP_Bool isView(PP_Resource resource) {
    return PP_FromBool(ResourceTable::instance().isView(resource));
}

PP_Bool getRect(PP_Resource resource, PP_Rect* rect) {
    if (rect == nullptr || !ResourceTable::instance().isView(resource)) return PP_FALSE;
    *rect = {{0, 0}, {kWidth, kHeight}};
    return PP_TRUE;
}

PP_Bool isFullscreen(PP_Resource) { return PP_FALSE; }

}  // namespace

const PPB_View_1_0 kView10 = {isView, getRect, isFullscreen, isView, isView, getRect};

}  // namespace host
