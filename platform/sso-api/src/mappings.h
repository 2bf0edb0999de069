#ifndef SSO_API_MAPPINGS_H_
#define SSO_API_MAPPINGS_H_

#include <cstdint>
#include <map>
#include <string>

#include "sso_account_file.h"

namespace sso_api {

/// The mappings of an account with users of partners. One thread at a time.
class Mappings {
  public:
    /// @return false when it is there already.
    bool add(const Mapping& mapping);

    /// Removes a mapping; without a cpUid all of the application's with the partner.
    ///
    /// @return false when there was none to remove.
    bool remove(const Mapping& mapping);

    /// A compact JSON array of an application's mappings, the oldest first.
    ///
    /// @param cpName  the partner; "" for all partners.
    std::string list(const std::string& appId, const std::string& cpName) const;

  private:
    // In the order of their texts, so that an application's and a partner's are neighbours; the
    // value tells the older of two.
    std::map<Mapping, std::uint64_t> m_ages;
    std::uint64_t m_next = 0;
};

}  // namespace sso_api

#endif
