#ifndef PPAPI_C_PPB_VIEW_H_
#define PPAPI_C_PPB_VIEW_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_rect.h"
#include "ppapi/c/pp_resource.h"

#define PPB_VIEW_INTERFACE_1_0 "PPB_View;1.0"

struct PPB_View_1_0 {
    PP_Bool (*IsView)(PP_Resource resource);
    /* PP_FALSE for a bad resource; then the rectangle is left alone. */
    PP_Bool (*GetRect)(PP_Resource resource, struct PP_Rect* rect);
    PP_Bool (*IsFullscreen)(PP_Resource resource);
    PP_Bool (*IsVisible)(PP_Resource resource);
    PP_Bool (*IsPageVisible)(PP_Resource resource);
    PP_Bool (*GetClipRect)(PP_Resource resource, struct PP_Rect* clip);
};

#endif
