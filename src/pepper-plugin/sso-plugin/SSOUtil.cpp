#include "SSOUtil.h"

#include <cstddef>
#include <cstdlib>

#include "PluginLog.h"
#include "sso_api.h"

namespace {

constexpr char kLogTag[] = "PP_PLUGIN_SSO";
constexpr char kLogFile[] = "SSOUtil";

/// What the client library's queries return when they filled their argument.
constexpr int kSuccess = 0;

static_assert(sizeof(sso_login_info) == 1408 && offsetof(sso_login_info, login_id) == 0 &&
                  offsetof(sso_login_info, uid) == 256,
              "the client library fills a record of this layout");

/// A text that the client library hands over. It may do so even when it reports a failure.
struct OwnedText {
    OwnedText() = default;
    OwnedText(const OwnedText&) = delete;
    OwnedText& operator=(const OwnedText&) = delete;
    ~OwnedText() {
        if (text != nullptr) {
            free(text);
        }
    }

    char* text = nullptr;
};

std::string readState() {
    std::string state;
    sso_login_info info{};
    if (sso_get_login_info(&info) != kSuccess) {
        return state;
    }
    OwnedText guid;
    if (sso_get_guid(&guid.text) != kSuccess) {
        return state;
    }
    OwnedText token;  // goes before the GUID
    if (sso_get_auth_token(&token.text) == kSuccess) {
        state.append(info.login_id).append("?").append(token.text);
        state.append("?").append(info.uid).append("?").append(guid.text);
    }
    return state;
}

std::string readGuid() {
    std::string guid;
    OwnedText text;
    if (sso_get_guid(&text.text) == kSuccess) {
        guid = text.text;
    }
    return guid;
}

std::string readUid() {
    std::string uid;
    sso_login_info info{};
    if (sso_get_login_info(&info) == kSuccess) {
        uid = info.uid;
    }
    return uid;
}

}  // namespace

std::string SSOUtil::GetSSOState() {
    SSO_LOG_FLOW("GetSSOState START", 6);
    std::string state = readState();
    SSO_LOG_FLOW("GetSSOState END", 35);
    return state;
}

std::string SSOUtil::GetSSOGuid() {
    SSO_LOG_FLOW("GetSSOGuid START", 42);
    std::string guid = readGuid();
    SSO_LOG_FLOW("GetSSOGuid END", 57);
    return guid;
}

std::string SSOUtil::GetSSOUid() {
    SSO_LOG_FLOW("GetSSOUid START", 64);
    std::string uid = readUid();
    SSO_LOG_FLOW("GetSSOUid END", 73);
    return uid;
}
