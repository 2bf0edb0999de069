#ifndef PPAPI_CPP_INSTANCE_H_
#define PPAPI_CPP_INSTANCE_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_stdint.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/view.h"

namespace pp {

class InputEvent;
class MessageHandler;
class MessageLoop;
class Rect;
class URLLoader;
class Var;

/// One embedding of the module in a page. The virtual functions are called on the main thread;
/// their order is part of the ABI.
class Instance {
  public:
    explicit Instance(PP_Instance instance) : pp_instance_(instance) {}
    virtual ~Instance() {}
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    /// @param argn, argv  the element's `argc` attributes, valid during the call.
    /// @return false refuses the instance; default true.
    virtual bool Init(uint32_t argc, const char* argn[], const char* argv[]);
    /// Default: calls the two-rectangle form.
    virtual void DidChangeView(const View& view);
    virtual void DidChangeView(const Rect& position, const Rect& clip);
    virtual void DidChangeFocus(bool has_focus);
    /// Default false: not used up.
    virtual bool HandleInputEvent(const pp::InputEvent& event);
    /// Default false.
    virtual bool HandleDocumentLoad(const URLLoader& url_loader);
    /// For messages that no handler takes. Default: drops it.
    virtual void HandleMessage(const Var& message);

    PP_Instance pp_instance() const { return pp_instance_; }

    /// Sends a copy of `message` to the page. Any thread; never waits for the page.
    void PostMessage(const Var& message);
    /// Sends the page's messages to `message_handler` on the thread of `message_loop`, whose loop
    /// must be attached already. The handler stays the caller's. Any thread.
    ///
    /// @return PP_OK; PP_ERROR_NOTSUPPORTED when the browser has no handlers; or the browser's
    ///     PP_ERROR_BADARGUMENT, PP_ERROR_BADRESOURCE, PP_ERROR_WRONG_THREAD.
    int32_t RegisterMessageHandler(MessageHandler* message_handler,
                                   const MessageLoop& message_loop);
    /// The handler's WasUnregistered comes later, on its loop.
    void UnregisterMessageHandler();

  private:
    PP_Instance pp_instance_;
};

}  // namespace pp

#endif
