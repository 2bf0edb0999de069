#include "mappings.h"

#include <nlohmann/json.hpp>

namespace sso_api {

using nlohmann::json;

bool Mappings::add(const Mapping& mapping) { return m_ages.try_emplace(mapping, m_next++).second; }

bool Mappings::remove(const Mapping& mapping) {
    if (!mapping.cpUid.empty()) {
        return m_ages.erase(mapping) != 0;
    }
    const auto first = m_ages.lower_bound(mapping);
    auto last = first;
    while (last != m_ages.end() && last->first.appId == mapping.appId &&
           last->first.cpName == mapping.cpName) {
        ++last;
    }
    const bool any = first != last;
    m_ages.erase(first, last);
    return any;
}

std::string Mappings::list(const std::string& appId, const std::string& cpName) const {
    std::map<std::uint64_t, const Mapping*> byAge;
    for (auto found = m_ages.lower_bound({appId, cpName, ""});
         found != m_ages.end() && found->first.appId == appId &&
         (cpName.empty() || found->first.cpName == cpName);
         ++found) {
        byAge.emplace(found->second, &found->first);
    }
    json list = json::array();
    for (const auto& [age, mapping] : byAge) {
        list.push_back(
            {{"appID", mapping->appId}, {"cpName", mapping->cpName}, {"cpUID", mapping->cpUid}});
    }
    // Callers may have added texts that are not UTF-8: the rest of the list is still good.
    return list.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace sso_api
