#include "verb_input.h"

#include <algorithm>
#include <utility>

#include "verb_tree.h"

namespace service {

using account::Profile;

std::string passwordFrom(const std::string& input) {
    std::string line = input.substr(0, input.find_first_of("\r\n"));
    if (line.empty()) throw Refused("standard input has no line with it");
    return line;
}

CLI::Validator isIdentifier() {
    return CLI::Validator(
        [](const std::string& text) {
            if (text.empty()) return std::string("must not be empty");
            if (text.size() > account::kLongestId) {
                return "must not be longer than " + std::to_string(account::kLongestId) + " bytes";
            }
            return std::string();
        },
        "");
}

std::chrono::milliseconds durationFrom(const std::string& text, const char* bare) {
    constexpr std::int64_t kLongestMs = 100LL * 366 * 24 * 3600 * 1000;
    constexpr std::size_t kMostDigits = 13;
    constexpr std::pair<const char*, std::int64_t> kUnits[] = {
        {"ms", 1}, {"s", 1000}, {"m", 60000}, {"h", 3600000}, {"d", 86400000}};
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    std::string unit = text.substr(digits);
    if (unit.empty() && bare != nullptr) unit = bare;
    for (const auto& [name, factor] : kUnits) {
        if (unit != name || digits == 0 || digits > kMostDigits) continue;
        const std::int64_t count = std::stoll(text.substr(0, digits));
        if (count <= kLongestMs / factor) return std::chrono::milliseconds(count * factor);
    }
    throw Refused(
        "a time must be a whole number with ms, s, m, h or d, such as 24h, and at most a "
        "hundred years");
}

const Profile& profileOf(State& state, const std::string& loginId) {
    const account::Account& account = state.account();
    const Profile* profile = loginId.empty() ? account.current() : account.find(loginId);
    if (profile != nullptr) return *profile;
    if (!loginId.empty()) throw Refused("there is no account " + loginId);
    throw Refused("nobody is signed in; ssoctl sign-in does it, or name an account with --account");
}

Profile& profileIn(account::Description& description, const std::string& loginId) {
    return *std::find_if(
        description.profiles.begin(), description.profiles.end(),
        [&](const Profile& profile) { return profile.identity.loginId == loginId; });
}

}  // namespace service
