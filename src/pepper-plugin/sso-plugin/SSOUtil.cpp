#include "SSOUtil.h"

#include <cstddef>

#include "OwnedText.h"
#include "PluginLog.h"
#include "SdkCall.h"
#include "sso_api.h"

namespace {

constexpr char kLogTag[] = "PP_PLUGIN_SSO";
constexpr char kLogFile[] = "SSOUtil";

/// The signed-in account's record, as the client library fills it. Two texts in it are known by their
/// places; its type and the rest are the library's own.
class LoginRecord {
  public:
    /// Asks the library at once.
    LoginRecord() : m_isValid(fill(sso_get_login_info)) {}

    bool isValid() const { return m_isValid; }
    const char* firstText() const { return m_bytes; }
    const char* uid() const { return m_bytes + 256; }

  private:
    static constexpr std::size_t kSize = 1408;  // of the largest one

    template <typename Record>
    bool fill(int (*query)(Record*)) {
        static_assert(sizeof(Record) <= kSize,
                      "the client library's login record is larger than the 1408 bytes that the "
                      "plug-in reserves");
        return query(reinterpret_cast<Record*>(m_bytes)) == sdk::kSuccess;
    }

    alignas(std::max_align_t) char m_bytes[kSize] = {};
    bool m_isValid;
};

std::string readState() {
    std::string state;
    const LoginRecord record;
    if (!record.isValid()) {
        return state;
    }
    const sdk::OwnedText guid(sso_get_guid);
    if (!guid.isValid()) {
        return state;
    }
    const sdk::OwnedText token(sso_get_auth_token);  // goes before the GUID
    if (token.isValid()) {
        state.append(record.firstText()).append("?").append(token.get());
        state.append("?").append(record.uid()).append("?").append(guid.get());
    }
    return state;
}

std::string readGuid() { return sdk::OwnedText(sso_get_guid).text(); }

std::string readUid() {
    const LoginRecord record;
    return record.isValid() ? record.uid() : "";
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
