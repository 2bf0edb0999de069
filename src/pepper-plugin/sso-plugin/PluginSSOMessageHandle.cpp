#include "PluginSSOMessageHandle.h"

// A handler without an instance is a broken module: it stops the process in release builds too.
#undef NDEBUG
#include <array>
#include <cassert>
#include <cstring>
#include <utility>

#include "PluginLog.h"
#include "PluginTrace.h"
#include "SSOProtocol.h"
#include "SSOUtil.h"
#include "SdkCall.h"
#include "extension/extension_system_korvane_wrt.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/var_dictionary.h"
#include "vconf.h"

namespace {

constexpr char kLogTag[] = "QPP_BASE";
constexpr char kLogFile[] = "PluginSSOMessageHandle";

constexpr char kPrivilegePartner[] = SSO_PRIVILEGE_ORIGIN "/privilege/sso.partner";
constexpr char kPrivilegePlatform[] = SSO_PRIVILEGE_ORIGIN "/privilege/sso.platform";
constexpr char kPrivilegePublic[] = SSO_PRIVILEGE_ORIGIN "/privilege/sso.public";

/// What a start call of the client library returns when it started nothing. Any other result, also
/// a negative one, means that the callback will come.
constexpr int kNotStarted = -1;

constexpr size_t kMaxKeys = 3;
/// Texts of a request, in the order of the command's keys.
using Texts = std::array<std::string, kMaxKeys>;

struct Key {
    const char* name;
    const char* errorMessage;  // of the answer when it is missing or no string; null: it may be
};

/// Reads the text under a key, in as few calls of the browser as there are. One that is missing or no
/// string reads as the empty text.
///
/// @return whether there is a text.
bool readText(const pp::VarDictionary& request, const char* key, std::string* text) {
    const pp::Var value = request.Get(key);
    *text = value.AsString();
    return value.is_string();
}

/// The row with that name, null when there is none. Exact: case and blanks count.
template <typename Row, size_t size>
const Row* findCommand(const Row (&rows)[size], const std::string& command) {
    for (const Row& row : rows) {
        if (command.size() == row.nameSize &&
            std::memcmp(command.data(), row.name, row.nameSize) == 0) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

// What every command has.
struct CPluginSSOMessageHandler::Command {
    using Privilege = bool CPluginSSOMessageHandler::*;
    static constexpr Privilege kPartner = &CPluginSSOMessageHandler::m_bPrivilegePartner;
    static constexpr Privilege kPlatform = &CPluginSSOMessageHandler::m_bPrivilegePlatform;

    const char* name;
    size_t nameSize;  // tells most names apart
    const char* logFormat;
    int logLine;
    Privilege privilege;  // the one that it needs
};

/// A name, its size, and the format of the detail line that says it.
#define SSO_LOGGED(name) name, sizeof(name) - 1, SSO_DETAIL_FORMAT(name)

/// A text that is stored into the call's trace once the client library has been called.
struct TracePoint {
    const char* logFormat;  // null: there is none
    int notStartedLine;     // of its log line, by how the call went
    int startedLine;        // kNoLine: it is not stored then
    void (*store)(TCScopeContainer* scope);
};

constexpr int kNoLine = 0;
constexpr TracePoint kNoTracePoint{nullptr, kNoLine, kNoLine, nullptr};

#define SSO_TRACE_POINT(text, notStartedLine, startedLine)                 \
    {                                                                      \
        SSO_FLOW_FORMAT("NDL-HT" text), notStartedLine, startedLine,       \
            [](TCScopeContainer* scope) { trace::storeText(scope, text); } \
    }

// A command that starts an operation of the client library; its callback answers later.
struct CPluginSSOMessageHandler::AsyncCommand : Command {
    Key keys
        [kMaxKeys];  // whose texts `start` gets, checked in this order; fewer end with a null name
    int (*start)(const Texts& texts, CPluginSSOMessageHandler* self);
    const char* failure;  // error message when it could not be started
    TracePoint tracePoint;
};

const CPluginSSOMessageHandler::AsyncCommand CPluginSSOMessageHandler::kAsyncCommands[] = {
    {{SSO_LOGGED(SSO_COMMAND_SHOW_LOGIN_PAGE), 140, Command::kPartner},
     {{SSO_KEY_DATA, SSO_MESSAGE_PARAM_INVALID}},
     [](const Texts& texts, CPluginSSOMessageHandler* self) {
         return sdk::call(sso_show, nullptr, 0, texts[0].c_str(),
                          sdk::Callback<&m_ShowSSOLoginCallBack>(), self);
     },
     "show login failed",
     SSO_TRACE_POINT("m_ShowSSOLoginCallBack done", 151, 156)},
    {{SSO_LOGGED(SSO_COMMAND_CREATE_ACCOUNT), 161, Command::kPartner},
     {},
     [](const Texts&, CPluginSSOMessageHandler* self) {
         return sdk::call(sso_show, nullptr, 0, "", sdk::Callback<&m_ShowCreateAccountCallBack>(),
                          self);
     },
     "show login failed",  // the login page's text: pages know it as this command's
     SSO_TRACE_POINT("m_ShowCreateAccountCallBack done", 166, 171)},
    {{SSO_LOGGED(SSO_COMMAND_GET_ACCESS_TOKEN), 176, Command::kPartner},
     {{SSO_KEY_CLIENT_ID, SSO_MESSAGE_PARAM_INVALID},
      {SSO_KEY_CLIENT_SECRET, SSO_MESSAGE_PARAM_INVALID}},
     [](const Texts& texts, CPluginSSOMessageHandler* self) {
         return sdk::call(sso_request_access_token, texts[0].c_str(), texts[1].c_str(),
                          sdk::Callback<&m_RequestAccessTokenCallBack>(), self);
     },
     "request access token failed",
     SSO_TRACE_POINT("m_RequestAccessTokenCallBack done", 187, kNoLine)},
    {{SSO_LOGGED(SSO_COMMAND_SHOW_TERMS_PAGE), 194, Command::kPartner},
     {{SSO_KEY_TERMS_ID, "termsId parameter is invalid"},
      {SSO_KEY_CALLER_ID, "callerId parameter is invalid"}},
     [](const Texts& texts, CPluginSSOMessageHandler* self) {
         return sdk::call(sso_show_term_page, texts[0].c_str(), 0, texts[1].c_str(),
                          sdk::Callback<&m_ShowTermsPageCallBack>(), self);
     },
     "show terms page failed",
     SSO_TRACE_POINT("m_ShowTermsPageCallBack done", 213, 218)},
    {{SSO_LOGGED(SSO_COMMAND_GET_MAPPING_LIST), 222, Command::kPartner},
     {{SSO_KEY_APP_ID, SSO_MESSAGE_PARAM_INVALID},
      {SSO_KEY_PARTNER, nullptr}},  // without a partner: asked with ""
     [](const Texts& texts, CPluginSSOMessageHandler* self) {
         return sdk::call(sso_get_cp_account_mapping_list, texts[0].c_str(), texts[1].c_str(),
                          sdk::Callback<&m_GetPartnerAccountMappingListCallBack>(), self);
     },
     "get cp account mapping list failed",
     kNoTracePoint},
    {{SSO_LOGGED(SSO_COMMAND_ADD_MAPPING), 238, Command::kPartner},
     {{SSO_KEY_APP_ID, SSO_MESSAGE_PARAM_INVALID},
      {SSO_KEY_PARTNER, SSO_MESSAGE_PARAM_INVALID},
      {SSO_KEY_PARTNER_UID, SSO_MESSAGE_PARAM_INVALID}},
     [](const Texts& texts, CPluginSSOMessageHandler* self) {
         return sdk::call(sso_add_cp_account_mapping_info, texts[0].c_str(), texts[1].c_str(),
                          texts[2].c_str(),
                          sdk::Callback<&m_AddPartnerAccountMappingInfoCallBack>(), self);
     },
     "add cp account mapping info failed",
     kNoTracePoint},
    {{SSO_LOGGED(SSO_COMMAND_REMOVE_MAPPING), 256, Command::kPartner},
     {{SSO_KEY_APP_ID, SSO_MESSAGE_PARAM_INVALID},
      {SSO_KEY_PARTNER, SSO_MESSAGE_PARAM_INVALID},
      {SSO_KEY_PARTNER_UID, nullptr}},  // without a user: asked with ""
     [](const Texts& texts, CPluginSSOMessageHandler* self) {
         return sdk::call(sso_remove_cp_account_mapping_info, texts[0].c_str(), texts[1].c_str(),
                          texts[2].c_str(),
                          sdk::Callback<&m_RemovePartnerAccountMappingInfoCallBack>(), self);
     },
     "remove cp account mapping info failed",
     SSO_TRACE_POINT("m_RemovePartnerAccountMappingInfoCallBack done", 268, kNoLine)},
};

// A command that is answered at once.
struct CPluginSSOMessageHandler::BlockingCommand : Command {
    const char* key;  // null, or the one whose text `answer` gets; refused without a text
    pp::Var (*answer)(std::string&& text);
};

const CPluginSSOMessageHandler::BlockingCommand CPluginSSOMessageHandler::kBlockingCommands[] = {
    {{SSO_LOGGED(SSO_COMMAND_GET_VERSION), 310, Command::kPartner},
     nullptr,
     [](std::string&&) { return pp::Var("1.1"); }},
    {{SSO_LOGGED(SSO_COMMAND_GET_SSO_STATE), 315, Command::kPlatform},
     nullptr,
     [](std::string&&) { return pp::Var(SSOUtil::GetSSOState()); }},
    {{SSO_LOGGED(SSO_COMMAND_GET_GUID), 324, Command::kPartner},
     nullptr,
     [](std::string&&) { return pp::Var(SSOUtil::GetSSOGuid()); }},
    {{SSO_LOGGED(SSO_COMMAND_GET_LOGIN_STATUS), 332, Command::kPartner},
     nullptr,
     [](std::string&&) {
         int state = 0;  // the answer when the library does not write one
         sso_get_login_state(&state);
         return pp::Var(state);
     }},
    {{SSO_LOGGED(SSO_COMMAND_GET_LOGIN_UID), 341, Command::kPartner},
     nullptr,
     [](std::string&&) { return pp::Var(SSOUtil::GetSSOUid()); }},
    {{SSO_LOGGED(SSO_COMMAND_GET_TERMS_STATE), 349, Command::kPartner},
     SSO_KEY_TERMS_ID,
     [](std::string&& text) {
         const std::string termsId(std::move(text));  // goes with the end of the library's call
         int state = 0;  // the answer when the library does not write one
         sdk::call(sso_get_term_state, termsId.c_str(), &state);
         return pp::Var(state);
     }},
};

// How the end of an operation is answered.
struct CPluginSSOMessageHandler::Completion {
    const char* callback;
    const char* logFormat;  // null: it writes no detail line
    int logLine;
    int nullLine;  // of the line for null user data
    const char* command;
    const char* key;
};

CPluginSSOMessageHandler::CPluginSSOMessageHandler(pp::Instance* instance)
    : m_poInstance(instance),
      m_bPrivilegePartner(false),
      m_bPrivilegePlatform(false),
      m_bPrivilegePublic(false) {
    const pp::InstanceHandle handle(instance);
    pp::ExtensionSystemKorvaneWRT extension(handle);
    m_bPrivilegePartner = extension.CheckPrivilege(pp::Var(kPrivilegePartner));
    m_bPrivilegePlatform = extension.CheckPrivilege(pp::Var(kPrivilegePlatform));
    m_bPrivilegePublic = extension.CheckPrivilege(pp::Var(kPrivilegePublic));
    SSO_LOG_DETAIL(
        "check privilege, m_bPrivilegePartner [%d], SSO_PRIVILEGE_PLATFORM [%d], "
        "SSO_PRIVILEGE_PUBLIC [%d], instance [%p]",
        28, m_bPrivilegePartner, m_bPrivilegePlatform, m_bPrivilegePublic,
        static_cast<void*>(instance));
    assert(instance);
    SSO_TRACE_SCOPE("CPluginSSOMessageHandler", 30, 32);
}

CPluginSSOMessageHandler::~CPluginSSOMessageHandler() {
    SSO_LOG_FLOW("Destructor called start", 35);
    __atomic_store_n(&m_poInstance, nullptr, __ATOMIC_RELEASE);
    // Nobody here subscribes to these keys; whoever did in this process is withdrawn.
    sdk::call(vconf_ignore_key_changed, "memory/sso/login_status", nullptr);
    sdk::call(vconf_ignore_key_changed, "memory/sso/view_status", nullptr);
    SSO_TRACE_DESTRUCTOR("~CPluginSSOMessageHandler", 41, 43);
    SSO_LOG_FLOW("give proxy start", 45);
    sso_give_proxy();
    SSO_LOG_FLOW("give proxy end", 47);
    SSO_LOG_FLOW("Destructor called end", 48);
}

void CPluginSSOMessageHandler::Register() {
    SSO_TRACE_SCOPE("Register", 376, 378);
    if (m_poInstance->RegisterMessageHandler(this, pp::MessageLoop::GetCurrent()) != PP_OK) {
        // A flow line, unlike other failures: who reads the log looks for it there.
        SSO_LOG_FLOW("Error while registering MessageHandler", 379);
    }
}

void CPluginSSOMessageHandler::WasUnregistered(pp::InstanceHandle instance) {
    SSO_LOG_FLOW("WasUnregistered", 385);
    SSO_TRACE_SCOPE("WasUnregistered", 386, 388);
    pp::Instance(instance.pp_instance()).PostMessage(pp::Var("Unregister"));
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): its own copy of the command
bool CPluginSSOMessageHandler::m_CheckPrivilege(std::string command) {
    SSO_TRACE_SCOPE("m_CheckPrivilege", 584, 586);
    const Command* known = findCommand(kAsyncCommands, command);
    if (known == nullptr) {
        known = findCommand(kBlockingCommands, command);
    }
    if (known == nullptr) {
        return false;
    }
    SSO_LOG_DETAIL("check %s privilege", 590, command.c_str());
    return this->*known->privilege;
}

// NOLINTBEGIN(performance-unnecessary-value-param): its own copies, callers hand over literals
void CPluginSSOMessageHandler::m_ResponseData(std::string command, int status,
                                              std::string errorName, std::string errorMessage,
                                              std::string* data, pp::Var* dataVar, int count) {
    // NOLINTEND(performance-unnecessary-value-param)
    SSO_LOG_DETAIL("START", 56);
    SSO_TRACE_SCOPE("m_ResponseData", 57, 59);
    pp::VarDictionary response;
    SSO_LOG_DETAIL(
        "responseData START, command [%s], status [%d], errorName [%s], errorMessage [%s], data "
        "length [%d]",
        64, command.c_str(), status, errorName.c_str(), errorMessage.c_str(), count);
    response.Set(SSO_KEY_STATUS, status);
    if (!command.empty()) {
        response.Set(SSO_KEY_COMMAND, command);
    }
    if (!errorName.empty()) {
        response.Set(SSO_KEY_ERROR_NAME, errorName);
    }
    if (!errorMessage.empty()) {
        response.Set(SSO_KEY_ERROR_MESSAGE, errorMessage);
    }
    for (int i = 0; i < count; ++i) {
        if (!dataVar[i].is_null()) {
            // Only callers whose values are all null leave the keys out.
            response.Set(data[i], dataVar[i]);  // NOLINT(clang-analyzer-core.NonNullParamChecker)
        }
    }
    // Read once: the destructor may clear it at any moment on the main thread.
    pp::Instance* const instance = __atomic_load_n(&m_poInstance, __ATOMIC_ACQUIRE);
    if (instance == nullptr) {
        SSO_LOG_ERROR("m_poInstance is null didn't called PostMessage", 90);
    } else if (instance->pp_instance() == 0) {
        SSO_LOG_ERROR("m_poInstance->pp_instance() is null didn't called PostMessage", 97);
    } else {
        SSO_LOG_FLOW("send message to web app", 94);
        instance->PostMessage(response);
    }
    SSO_LOG_DETAIL("m_ResponseData END", 102);
}

void CPluginSSOMessageHandler::HandleMessageImpl(pp::InstanceHandle instance,
                                                 const pp::Var& message) {
    SSO_LOG_FLOW("HandleMessageImpl SSO start", 107);
    SSO_TRACE_SCOPE("HandleMessageImpl", 108, 110);
    // An instance object stands for the page while its message is handled; nothing reads it.
    const pp::Instance page(instance.pp_instance());
    pp::Var noData{pp::Var::Null()};
    const auto refuse = [this, &noData](const std::string& command, int status,
                                        const char* errorName, const char* errorMessage) {
        m_ResponseData(command, status, errorName, errorMessage, nullptr, &noData, 1);
    };

    if (!message.is_dictionary()) {
        SSO_LOG_ERROR("The incoming message is invalid", 117);
        refuse("", SSO_STATUS_FAILED, SSO_ERROR_PARAM_INVALID, "Incoming message is invalid");
        return;
    }
    const pp::VarDictionary request(message);
    std::string command;
    if (!readText(request, SSO_KEY_COMMAND, &command)) {
        SSO_LOG_ERROR("The incoming command is invalid", 124);
        refuse("", SSO_STATUS_FAILED, SSO_ERROR_COMMAND_INVALID, SSO_MESSAGE_COMMAND_INVALID);
        return;
    }
    if (!m_CheckPrivilege(command)) {
        SSO_LOG_ERROR("check SSO Privilege fail", 133);
        refuse(command, SSO_STATUS_NO_PRIVILEGE, "PrivilegeInvalid", SSO_MESSAGE_NO_PRIVILEGE);
        return;
    }

    const AsyncCommand* const row = findCommand(kAsyncCommands, command);
    if (row == nullptr) {
        SSO_LOG_ERROR("Command is invalid", 275);
        refuse("", SSO_STATUS_FAILED, SSO_ERROR_COMMAND_INVALID, "Command no recognized");
        SSO_LOG_FLOW("HandleMessageImpl end", 278);
        return;
    }
    SSO_LOG_DETAIL_AS(row->logFormat, row->logLine);
    Texts texts;
    for (size_t i = 0; i < kMaxKeys && row->keys[i].name != nullptr; ++i) {
        const Key& key = row->keys[i];
        if (!readText(request, key.name, &texts[i]) && key.errorMessage != nullptr) {
            refuse(command, SSO_STATUS_FAILED, SSO_ERROR_PARAM_INVALID, key.errorMessage);
            return;
        }
    }
    // The library copies what it keeps of the texts: they go with the end of its call.
    const bool isStarted = row->start(Texts(std::move(texts)), this) != kNotStarted;
    const int traceLine = isStarted ? row->tracePoint.startedLine : row->tracePoint.notStartedLine;
    if (traceLine != kNoLine) {
        row->tracePoint.store(&traceScope);
        SSO_LOG_FLOW_AS(row->tracePoint.logFormat, traceLine);
    }
    if (!isStarted) {
        refuse(command, SSO_STATUS_FAILED, "error", row->failure);
        return;
    }
    SSO_LOG_FLOW("HandleMessageImpl end", 278);
}

pp::Var CPluginSSOMessageHandler::HandleBlockingMessageImpl(pp::InstanceHandle instance,
                                                            const pp::Var& message) {
    SSO_LOG_FLOW("HandleBlockingMessageImpl start", 284);
    SSO_TRACE_SCOPE("HandleBlockingMessageImpl", 285, 287);
    // As in HandleMessageImpl.
    const pp::Instance page(instance.pp_instance());
    const auto refuse = [this](int code, const char* errorName, const char* errorMessage) {
        return createMessage(code, pp::Var(pp::Var::Null()), errorName, errorMessage);
    };

    if (!message.is_dictionary()) {
        SSO_LOG_ERROR("The incoming message is invalid", 291);
        return refuse(SSO_CODE_INVALID_VALUES, SSO_ERROR_INVALID_VALUES,
                      "Incoming message is not dictionary");
    }
    const pp::VarDictionary request(message);
    std::string command;
    if (!readText(request, SSO_KEY_COMMAND, &command)) {
        SSO_LOG_ERROR("The incoming command is invalid", 297);
        return refuse(SSO_CODE_INVALID_VALUES, SSO_ERROR_INVALID_VALUES,
                      SSO_MESSAGE_COMMAND_INVALID);
    }
    if (!m_CheckPrivilege(command)) {
        SSO_LOG_ERROR("check SSO Privilege fail", 305);
        return refuse(SSO_CODE_NO_PRIVILEGE, "SecurityError", SSO_MESSAGE_NO_PRIVILEGE);
    }

    const BlockingCommand* const row = findCommand(kBlockingCommands, command);
    if (row == nullptr) {
        SSO_LOG_DETAIL("unknown command[%s]", 365, command.c_str());
        return refuse(SSO_CODE_UNKNOWN_COMMAND, SSO_ERROR_INVALID_VALUES, "unkown command");
    }
    SSO_LOG_DETAIL_AS(row->logFormat, row->logLine);
    std::string text;
    if (row->key != nullptr && !readText(request, row->key, &text)) {
        return refuse(SSO_CODE_PARAM_INVALID, SSO_ERROR_PARAM_INVALID, SSO_MESSAGE_PARAM_INVALID);
    }
    return createMessage(SSO_CODE_OK, row->answer(std::move(text)), "", "");
}

int CPluginSSOMessageHandler::m_Complete(const Completion& completion, void* userData,
                                         const char* text, int32_t number) {
    auto* const handler = static_cast<CPluginSSOMessageHandler*>(userData);
    if (handler == nullptr) {
        SSO_LOG_ERROR_IN(completion.callback, "PluginSSO is NULL", completion.nullLine);
        return -1;
    }
    if (completion.logFormat != nullptr) {
        SSO_LOG_DETAIL_IN(completion.callback, completion.logFormat, completion.logLine);
    }
    pp::Var value = text != nullptr ? pp::Var(text) : pp::Var(number);
    std::string key(completion.key);
    handler->m_ResponseData(completion.command, SSO_STATUS_OK, "", "", &key, &value, 1);
    return 0;
}

int CPluginSSOMessageHandler::m_ShowSSOLoginCallBack(void* userData, int, sso_popup_state_e state) {
    SSO_TRACE_SCOPE("m_ShowSSOLoginCallBack", 409, 411);
    return m_Complete({__func__, nullptr, 0, 414, SSO_COMMAND_SHOW_LOGIN_PAGE, SSO_KEY_STATE},
                      userData, nullptr, state);
}

int CPluginSSOMessageHandler::m_ShowTermsPageCallBack(void* userData, int,
                                                      sso_popup_state_e state) {
    SSO_TRACE_SCOPE("m_ShowTermsPageCallBack", 424, 426);
    return m_Complete({__func__, SSO_DETAIL_FORMAT("m_ShowTermsPageCallBack"), 428, 438,
                       SSO_COMMAND_SHOW_TERMS_PAGE, SSO_KEY_STATE},
                      userData, nullptr, state);
}

int CPluginSSOMessageHandler::m_ShowCreateAccountCallBack(void* userData, int,
                                                          sso_popup_state_e state) {
    SSO_TRACE_SCOPE("m_ShowCreateAccountCallBack", 457, 459);
    return m_Complete({__func__, nullptr, 0, 462, SSO_COMMAND_CREATE_ACCOUNT, SSO_KEY_STATE},
                      userData, nullptr, state);
}

int CPluginSSOMessageHandler::m_RequestAccessTokenCallBack(void* userData, int, char* token) {
    SSO_TRACE_SCOPE("m_RequestAccessTokenCallBack", 472, 474);
    return m_Complete({__func__, SSO_DETAIL_FORMAT("m_RequestAccessTokenCallBack"), 476, 493,
                       SSO_COMMAND_GET_ACCESS_TOKEN, SSO_KEY_TOKEN},
                      userData, token != nullptr ? token : "", 0);
}

int CPluginSSOMessageHandler::m_GetPartnerAccountMappingListCallBack(void* userData, int,
                                                                     char* list) {
    SSO_TRACE_SCOPE("m_GetPartnerAccountMappingListCallBack", 503, 505);
    return m_Complete({__func__, SSO_DETAIL_FORMAT("m_GetPartnerAccountMappingListCallBack"), 507,
                       524, SSO_COMMAND_GET_MAPPING_LIST, SSO_KEY_MAPPING_LIST},
                      userData, list != nullptr ? list : "", 0);
}

int CPluginSSOMessageHandler::m_AddPartnerAccountMappingInfoCallBack(void* userData, int result) {
    SSO_TRACE_SCOPE("m_AddPartnerAccountMappingInfoCallBack", 534, 536);
    return m_Complete({__func__, SSO_DETAIL_FORMAT("m_AddPartnerAccountMappingInfoCallBack"), 538,
                       548, SSO_COMMAND_ADD_MAPPING, SSO_KEY_RESULT},
                      userData, nullptr, result);
}

int CPluginSSOMessageHandler::m_RemovePartnerAccountMappingInfoCallBack(void* userData,
                                                                        int result) {
    SSO_TRACE_SCOPE("m_RemovePartnerAccountMappingInfoCallBack", 558, 560);
    return m_Complete({__func__, SSO_DETAIL_FORMAT("m_RemovePartnerAccountMappingInfoCallBack"),
                       562, 572, SSO_COMMAND_REMOVE_MAPPING, SSO_KEY_RESULT},
                      userData, nullptr, result);
}
