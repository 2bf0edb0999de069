#ifndef BROWSER_WRAPPER_MESSAGE_SPY_H_
#define BROWSER_WRAPPER_MESSAGE_SPY_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/ppb.h"

/// Stands between the browser's messaging and the plug-in, and tells the browser (see events.h) what
/// passes. It changes nothing.
namespace browser {

/// @param writesMessages  whether whole messages are wanted, and not only which there were.
void startSpying(PPB_GetInterface getInterface, bool writesMessages);

/// What the plug-in gets as "PPB_Messaging;1.2".
const void* spyingMessaging();

/// The instance is gone.
void forgetMessages(PP_Instance instance);

}  // namespace browser

#endif
