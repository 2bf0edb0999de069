#include "SSOUtil.h"

#include <cstddef>
#include <cstdlib>
#include <memory>

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

struct Free {
    void operator()(char* text) const { free(text); }
};

/// A text that the client library hands over.
class OwnedText {
  public:
    /// @param query  asked at once. It may hand over a text even when it reports a failure.
    explicit OwnedText(int (*query)(char**)) {
        char* text = nullptr;
        m_isValid = query(&text) == kSuccess;
        m_text.reset(text);
    }

    bool isValid() const { return m_isValid; }
    const char* get() const { return m_text.get(); }

  private:
    std::unique_ptr<char, Free> m_text;
    bool m_isValid = false;
};

std::string readState() {
    std::string state;
    sso_login_info info{};
    if (sso_get_login_info(&info) != kSuccess) {
        return state;
    }
    const OwnedText guid(sso_get_guid);
    if (!guid.isValid()) {
        return state;
    }
    const OwnedText token(sso_get_auth_token);  // goes before the GUID
    if (token.isValid()) {
        state.append(info.login_id).append("?").append(token.get());
        state.append("?").append(info.uid).append("?").append(guid.get());
    }
    return state;
}

std::string readGuid() {
    const OwnedText guid(sso_get_guid);
    return guid.isValid() ? guid.get() : "";
}

std::string readUid() {
    sso_login_info info{};
    return sso_get_login_info(&info) == kSuccess ? info.uid : "";
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
