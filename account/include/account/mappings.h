#ifndef ACCOUNT_MAPPINGS_H_
#define ACCOUNT_MAPPINGS_H_

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace account {

/// That an account belongs to a user of a partner, for an application.
struct Mapping {
    std::string appId;
    std::string cpName;  ///< the partner
    std::string cpUid;   ///< the partner's name for the user
};

inline bool operator<(const Mapping& one, const Mapping& other) {
    return std::tie(one.appId, one.cpName, one.cpUid) <
           std::tie(other.appId, other.cpName, other.cpUid);
}

/// A compact JSON array of objects with the members "appID", "cpName" and "cpUID". In texts that
/// are not UTF-8 it has replacement characters: the others are still good.
std::string toJson(const std::vector<Mapping>& mappings);

/// Mappings, none of them twice, which know their order. One thread at a time.
class Mappings {
  public:
    /// @return false when it is there already.
    bool add(const Mapping& mapping);

    /// Whether remove() would remove something.
    bool contains(const Mapping& mapping) const;

    /// Removes a mapping; without a cpUid all of the application's with the partner.
    ///
    /// @return false when there was none to remove.
    bool remove(const Mapping& mapping);

    /// An application's mappings, the oldest first.
    ///
    /// @param cpName  the partner; "" for all partners.
    std::vector<Mapping> list(const std::string& appId, const std::string& cpName) const;

    /// Those of all applications, the oldest first.
    std::vector<Mapping> all() const;

  private:
    using Ages = std::map<Mapping, std::uint64_t>;
    /// What remove() means: from the first to beyond the last.
    template <typename Map>
    static auto meant(Map& ages, const Mapping& mapping);

    // In the order of their texts, so that an application's and a partner's are neighbours; the
    // value tells the older of two.
    Ages m_ages;
    std::uint64_t m_next = 0;
};

}  // namespace account

#endif
