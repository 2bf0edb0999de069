// An instance whose number is 0: there is no page to answer to.

#include <dlfcn.h>
#include <gmock/gmock.h>

#include "asynchronous_commands.h"
#include "host/var_conversion.h"
#include "host/var_table.h"
#include "module_path.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_message_handler.h"

namespace protocol {
namespace {

/// What the plug-in registered with the table below.
struct Registered {
    const PPP_MessageHandler_0_2* table = nullptr;
    void* userData = nullptr;
    int posts = 0;
};
Registered g_registered;

void postMessage(PP_Instance, PP_Var) { ++g_registered.posts; }

std::int32_t registerMessageHandler(PP_Instance, void* userData,
                                    const PPP_MessageHandler_0_2* table, PP_Resource) {
    g_registered.table = table;
    g_registered.userData = userData;
    return 0;
}

void unregisterMessageHandler(PP_Instance) {}

constexpr PPB_Messaging_1_2 kMessaging = {&postMessage, &registerMessageHandler,
                                          &unregisterMessageHandler};

/// No browser numbers an instance so; the module is asked directly.
class AnInstanceWithoutANumber : public ProtocolTest {
  protected:
    void SetUp() override {
        g_registered = {};
        m_extension.grant(support::kPartner);
        replaceInterface(PPB_MESSAGING_INTERFACE_1_2, &kMessaging);
        host().runOnMain([this] {
            void* module = dlopen(support::modulePath().c_str(), RTLD_LAZY | RTLD_NOLOAD);
            ASSERT_NE(module, nullptr) << "the host has it loaded";
            const auto getInterface =
                reinterpret_cast<PP_GetInterface_Func>(dlsym(module, "PPP_GetInterface"));
            ASSERT_NE(getInterface, nullptr);
            m_table =
                static_cast<const PPP_Instance_1_1*>(getInterface(PPP_INSTANCE_INTERFACE_1_1));
            dlclose(module);
            ASSERT_EQ(m_table->DidCreate(0, 0, nullptr, nullptr), PP_TRUE);
        });
        ASSERT_NE(g_registered.table, nullptr);
        // The last that its worker does: there is no loop without an instance.
        ASSERT_TRUE(m_recorder.waitFor(1, [](const Event& event) { return event.what == "Run"; }));
    }

    void TearDown() override {
        host().runOnMain([this] { m_table->DidDestroy(0); });
        ProtocolTest::TearDown();
    }

    /// A message from a page that cannot be.
    static void send(const Value& value) {
        const PP_Var message = host::toVar("test", value);
        g_registered.table->HandleMessage(0, g_registered.userData, &message);
    }

    /// An answer that does not go out.
    static EventMatchers unposted(const std::string& command, int status,
                                  const std::string& errorName, const std::string& errorMessage) {
        return sequence({responseBegin(command, status, errorName, errorMessage),
                         {logged(Kind::Error, handlerPlace("m_ResponseData", 97),
                                 "m_poInstance->pp_instance() is null didn't called PostMessage"),
                          responseEnd()}});
    }

    const PPP_Instance_1_1* m_table = nullptr;
};

TEST_F(AnInstanceWithoutANumber, PostsNothingAndSaysSoInRed) {
    m_recorder.clear();
    send(Value(7));
    EXPECT_THAT(m_recorder.events(),
                ElementsAreArray(sequence(
                    {postedStart(),
                     {logged(Kind::Error, postedPlace(117), "The incoming message is invalid")},
                     unposted("", -1, "paramInvaild", "Incoming message is invalid")})));
    EXPECT_EQ(g_registered.posts, 0);
}

TEST_F(AnInstanceWithoutANumber, StartsOperationsAndEndsThemInTheSameWay) {
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        send(requestFor(command));
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(started(command)));
        m_recorder.clear();
        int returned = -7;
        ASSERT_EQ(finish(0, {1, 1, "text"}, &returned), SSO_OK);
        EXPECT_EQ(returned, 0) << "an answer without a page is no error to the library";
        EXPECT_THAT(
            m_recorder.events(),
            ElementsAreArray(sequence({callbackLine(command), unposted(command.name, 0, "", "")})));
    }
    EXPECT_EQ(g_registered.posts, 0);
}

}  // namespace
}  // namespace protocol
