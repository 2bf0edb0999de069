#ifndef PLUGIN_SSO_MESSAGE_HANDLE_H_
#define PLUGIN_SSO_MESSAGE_HANDLE_H_

#include <string>

#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/var.h"
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

    // Called by the client library when an operation has ended, each with the handler that started
    // it as user data. They post one answer, with status 0 whatever the library reports: a page
    // learns the end from the answer's value. They return 0, or -1 for null user data, when nobody
    // can be answered.

    // Popups: answered with "state", as it is. The result is not looked at.
    static int m_ShowSSOLoginCallBack(void* userData, int result, sso_popup_state_e state);
    static int m_ShowTermsPageCallBack(void* userData, int result, sso_popup_state_e state);
    static int m_ShowCreateAccountCallBack(void* userData, int result, sso_popup_state_e state);
    // Texts, the library's: answered with a copy, "" for null. The result is not looked at.
    static int m_RequestAccessTokenCallBack(void* userData, int result, char* token);
    static int m_GetPartnerAccountMappingListCallBack(void* userData, int result, char* list);
    // Changes of the mappings: answered with "result", as it is.
    static int m_AddPartnerAccountMappingInfoCallBack(void* userData, int result);
    static int m_RemovePartnerAccountMappingInfoCallBack(void* userData, int result);

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
    struct Command;
    struct AsyncCommand;
    struct BlockingCommand;
    static const AsyncCommand kAsyncCommands[];
    static const BlockingCommand kBlockingCommands[];

    struct Completion;
    /// What all completion callbacks do, inside the scope of each. Their answers carry the text, or
    /// the number where the text is null.
    static int m_Complete(const Completion& completion, void* userData, const char* text,
                          int32_t number);

    // Cleared when destruction begins. Client-library callbacks that still run then, on other
    // threads, see it set or null; both are safe until the proxy has been handed back.
    pp::Instance* m_poInstance;
    bool m_bPrivilegePartner;
    bool m_bPrivilegePlatform;
    bool m_bPrivilegePublic;  // told in the log only: no command needs it
};

#endif
