#include "account/mappings.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace account {
namespace {

/// @param first  of mappings with their ages.
template <typename Iterator>
std::vector<Mapping> oldestFirst(Iterator first, Iterator last) {
    std::map<std::uint64_t, const Mapping*> byAge;
    for (; first != last; ++first) {
        byAge.emplace(first->second, &first->first);
    }
    std::vector<Mapping> mappings;
    mappings.reserve(byAge.size());
    for (const auto& [age, mapping] : byAge) {
        mappings.push_back(*mapping);
    }
    return mappings;
}

}  // namespace

std::string toJson(const std::vector<Mapping>& mappings) {
    using nlohmann::json;
    json list = json::array();
    for (const Mapping& mapping : mappings) {
        list.push_back(
            {{"appID", mapping.appId}, {"cpName", mapping.cpName}, {"cpUID", mapping.cpUid}});
    }
    return list.dump(-1, ' ', false, json::error_handler_t::replace);
}

bool Mappings::add(const Mapping& mapping) { return m_ages.try_emplace(mapping, m_next++).second; }

template <typename Map>
auto Mappings::meant(Map& ages, const Mapping& mapping) {
    const auto first = ages.lower_bound(mapping);
    auto last = first;
    if (!mapping.cpUid.empty()) return std::pair(first, ages.upper_bound(mapping));
    while (last != ages.end() && last->first.appId == mapping.appId &&
           last->first.cpName == mapping.cpName) {
        ++last;
    }
    return std::pair(first, last);
}

bool Mappings::contains(const Mapping& mapping) const {
    const auto [first, last] = meant(m_ages, mapping);
    return first != last;
}

bool Mappings::remove(const Mapping& mapping) {
    const auto [first, last] = meant(m_ages, mapping);
    const bool any = first != last;
    m_ages.erase(first, last);
    return any;
}

std::vector<Mapping> Mappings::list(const std::string& appId, const std::string& cpName) const {
    const auto first = m_ages.lower_bound({appId, cpName, ""});
    auto last = first;
    while (last != m_ages.end() && last->first.appId == appId &&
           (cpName.empty() || last->first.cpName == cpName)) {
        ++last;
    }
    return oldestFirst(first, last);
}

std::vector<Mapping> Mappings::all() const { return oldestFirst(m_ages.begin(), m_ages.end()); }

}  // namespace account
