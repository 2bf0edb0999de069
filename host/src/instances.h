#ifndef HOST_SRC_INSTANCES_H_
#define HOST_SRC_INSTANCES_H_

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "host/message.h"
#include "host/registration.h"
#include "message_loop.h"
#include "ppapi/c/ppp_message_handler.h"

namespace host {

/// A handler that the module registered.
struct MessageHandler {
    const PPP_MessageHandler_0_2* table = nullptr;
    void* userData = nullptr;
    std::shared_ptr<MessageLoop> loop;
};

/// The instances and their message handlers. Any thread; nothing of the module runs in here.
class Instances {
  public:
    /// How a message to an instance goes on.
    enum class Route { Handler, NoHandler, InstanceGone };

    /// A new instance in creation, with an arbitrary id. Ids differ over the whole process.
    PP_Instance add();

    /// The instance was accepted: it is ready once nothing is held that it posted to the page.
    ///
    /// @return what is held, to be delivered; then to be asked again, so that nothing overtakes it.
    std::vector<Message> makeReady(PP_Instance instance);

    /// Begins the end: messages to the page are lost from here on.
    ///
    /// @return false when the instance is unknown or its end has begun.
    bool beginEnd(PP_Instance instance);

    /// The id is dead from here on. A handler still registered gets Destroy on its loop, if that has
    /// a thread.
    void end(PP_Instance instance);

    bool exists(PP_Instance instance) const;   ///< also in creation and while it ends
    bool isReady(PP_Instance instance) const;  ///< accepted, and its end has not begun
    std::vector<PP_Instance> ids() const;

    /// What becomes of a message that the module posts for the instance.
    enum class Outgoing { Deliver, Held, Lost, UnknownInstance };
    Outgoing post(const Message& message);

    /// Checks and stores a handler; the one before it gets Destroy on its loop.
    ///
    /// @param handler   its loop is null when `resource` is no live message loop.
    /// @param mainLoop  the loop that is refused.
    /// @return what PPB_Messaging.RegisterMessageHandler returns.
    std::int32_t registerHandler(PP_Instance instance, const MessageHandler& handler,
                                 PP_Resource resource, const MessageLoop& mainLoop);

    /// No handler registered: nothing.
    void unregisterHandler(PP_Instance instance);

    /// Posts a task to the loop of the instance's handler, in one step with the decision: a Destroy
    /// cannot overtake it. A handler whose loop has no thread is forgotten without Destroy.
    ///
    /// @param makeTask  gets the handler; called with the table locked.
    Route route(PP_Instance instance,
                const std::function<MessageLoop::Task(const MessageHandler&)>& makeTask);

    /// The loop that the instance last registered a handler with, even if the handler is gone; null
    /// when there is none or nothing keeps it any more.
    std::shared_ptr<MessageLoop> latestLoop(PP_Instance instance) const;

    /// The next `count` registrations fail with the result, without any check.
    void failRegistrations(std::int32_t result, std::size_t count);
    std::vector<Registration> registrations() const;

  private:
    enum class State { Creating, Ready, Ending };
    struct Instance {
        State state = State::Creating;
        std::vector<Message> held;
        std::optional<MessageHandler> handler;
        std::weak_ptr<MessageLoop> latestLoop;  // that a handler was registered with
    };

    std::int32_t check(PP_Instance instance, const MessageHandler& handler,
                       const MessageLoop& mainLoop) const;
    static void postDestroy(PP_Instance instance, const MessageHandler& handler);

    mutable std::mutex m_mutex;
    std::map<PP_Instance, Instance> m_instances;
    std::vector<Registration> m_registrations;
    std::int32_t m_forcedResult = 0;
    std::size_t m_forcedCount = 0;
};

}  // namespace host

#endif
