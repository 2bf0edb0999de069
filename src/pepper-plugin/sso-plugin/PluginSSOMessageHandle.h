#ifndef PLUGIN_SSO_MESSAGE_HANDLE_H_
#define PLUGIN_SSO_MESSAGE_HANDLE_H_

#include <string>

#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/var.h"
#include "ppapi/cpp/var_dictionary.h"
#include "runtime/pp_base_message_handler.h"
#include "sso_api.h"

/// Answers a page's messages with the account service of the platform.
///
/// Made and destroyed on the main thread, inside its instance; messages come on the instance's
/// worker thread, which ends before the handler goes; completion callbacks come on any thread of
/// the client library's. There is no lock: the privilege flags are set before the handler is
/// registered and never change. No function throws on purpose; failures become answers.
class CPluginSSOMessageHandler : public PPBaseMessageHandler {
  public:
    /// Asks the runtime for the application's privileges, once and for all.
    ///
    /// @param instance  the owner, which outlives the handler. Null stops the process.
    explicit CPluginSSOMessageHandler(pp::Instance* instance);
    /// Withdraws subscriptions to the account's keys and hands the client library's proxy back,
    /// which ends what is still under way.
    ~CPluginSSOMessageHandler() override;

    /// Registers the handler on the loop of the calling thread; a failure is logged only.
    void Register();

    /// Tells the page so, with the plain string "Unregister".
    void WasUnregistered(pp::InstanceHandle instance) override;
    /// Answers with a posted message, at once or when the client library calls back.
    void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;
    /// Answers with the returned reply.
    pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance, const pp::Var& message) override;

    /// Called by the client library when the login popup has ended.
    ///
    /// @param userData  the handler that started it.
    /// @param result  not looked at: a page learns the end from the state alone.
    /// @param state  sent as it is.
    /// @return 0, or -1 for null user data, when nothing can be answered.
    static int m_ShowSSOLoginCallBack(void* userData, int result, sso_popup_state_e state);

  protected:
    /// Decides by name alone, from the privileges held at construction. A name that is no command
    /// is refused.
    bool m_CheckPrivilege(std::string command);

    /// Builds an asynchronous answer and posts it to the page. Any thread. Empty texts are left
    /// out, and so are data entries whose value is null; their key is not read. "No data" is a null
    /// key array with one null value.
    ///
    /// @param status  SSO_STATUS_*.
    /// @param data, dataVar  `count` keys and values, the caller's.
    void m_ResponseData(std::string command, int status, std::string errorName,
                        std::string errorMessage, std::string* data, pp::Var* dataVar, int count);

  private:
    struct AsyncCommand;
    struct BlockingCommand;
    struct CommandPrivilege;
    static const AsyncCommand kAsyncCommands[];
    static const BlockingCommand kBlockingCommands[];
    static const CommandPrivilege kCommandPrivileges[];

    pp::Var getVersion(const pp::VarDictionary& request);

    // Cleared when destruction begins. Client-library callbacks that still run then, on other
    // threads, see it set or null; both are safe until the proxy has been handed back.
    pp::Instance* m_poInstance;
    bool m_bPrivilegePartner;
    bool m_bPrivilegePlatform;
    bool m_bPrivilegePublic;  // told in the log only: no command needs it
};

#endif
