#include "doctor.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "remote.h"
#include "service/bus_address.h"

namespace ssoctl {
namespace {

namespace fs = std::filesystem;

/// The findings, one after the other. What comes after a failure is not looked at: it would fail for that reason.
class Examination {
  public:
    void well(const char* what, const std::string& is) { note(what, true, is, ""); }
    void wrong(const char* what, const std::string& is, const std::string& cure) {
        note(what, false, is, cure);
    }
    bool isWell() const { return m_isWell; }
    const Json& findings() const { return m_findings; }

  private:
    void note(const char* what, bool isWell, const std::string& is, const std::string& cure) {
        m_findings.push_back({{"what", what}, {"ok", isWell}, {"is", is}, {"cure", cure}});
        m_isWell = m_isWell && isWell;
    }

    Json m_findings = Json::array();
    bool m_isWell = true;
};

void examineProgram(Examination& found, const fs::path& ssod) {
    if (access(ssod.c_str(), X_OK) == 0) {
        found.well("service's program", ssod.string());
    } else {
        found.wrong("service's program", ssod.string() + " is not there",
                    "build it, or install the tools again: it stands beside ssoctl");
    }
}

void examineFolders(Examination& found) {
    const char* data = std::getenv("XDG_DATA_HOME");
    const char* home = std::getenv("HOME");
    if (data != nullptr && *data == '/') {
        found.well("states", std::string(data) + "/sso-desk/states");
    } else if (home != nullptr && *home == '/') {
        found.well("states", std::string(home) + "/.local/share/sso-desk/states");
    } else {
        found.wrong("states", "they have no place", "set HOME or XDG_DATA_HOME to a whole path");
    }
}

std::optional<service::BusHold> examineBus(Examination& found, const fs::path& ssod) {
    try {
        service::BusHold hold = service::BusHold::get(ssod);
        found.well("bus", (hold.isPrivate() ? "private, " : "of the session, ") + hold.address());
        return hold;
    } catch (const std::exception& error) {
        found.wrong("bus", error.what(),
                    "install the package dbus-daemon when it is missing; let XDG_RUNTIME_DIR be a "
                    "folder of yours alone that can be written");
        return std::nullopt;
    }
}

void examineService(Examination& found, const service::BusHold& bus, const std::string& state) {
    try {
        Remote remote(bus.address(), state);
        const Json status = Json::parse(remote.run({"status"}, "").output);
        const std::string version = status.at("service").get<std::string>();
        if (version == SSO_VERSION) {
            found.well("service", version);
        } else {
            found.wrong("service", "its version is " + version + ", ssoctl's is " SSO_VERSION,
                        "end the programs that use it: the next one starts the other");
        }
        const Json& signedIn = status.at("signedIn");
        found.well("state",
                   state + ", " +
                       (signedIn.is_null() ? "nobody is signed in"
                                           : signedIn.get<std::string>() + " is signed in"));
        for (const auto& [operation, order] : status.at("orders").items()) {
            found.well("order", operation + " " + order.dump() + "; ssoctl reset takes it back");
        }
        if (status.at("clockAdvancedMs") != 0) {
            found.well("clock", "advanced by " + status.at("clockAdvancedMs").dump() +
                                    " ms; ssoctl clock reset takes it back");
        }
    } catch (const std::exception& error) {
        found.wrong(
            "service", error.what(),
            "for a folder that cannot be written, set its permissions, or XDG_DATA_HOME; for "
            "a state that is damaged, name another with --state, or remove its file");
    }
}

}  // namespace

bool examine(const fs::path& ssod, const std::string& state, bool json) {
    Examination found;
    examineProgram(found, ssod);
    examineFolders(found);
    if (found.isWell()) {
        if (const auto bus = examineBus(found, ssod)) examineService(found, *bus, state);
    }
    if (json) {
        std::printf("%s\n", found.findings().dump().c_str());
        return found.isWell();
    }
    for (const Json& one : found.findings()) {
        const bool isWell = one.at("ok").get<bool>();
        std::printf("%-5s  %s: %s\n", isWell ? "ok" : "wrong",
                    one.at("what").get<std::string>().c_str(),
                    one.at("is").get<std::string>().c_str());
        if (!isWell) std::printf("       cure: %s\n", one.at("cure").get<std::string>().c_str());
    }
    return found.isWell();
}

}  // namespace ssoctl
