#include "embedder/environment.h"

#include <stdlib.h>

#ifdef SSO_SERVICE
#include "service/bus_address.h"
#endif

namespace embedder {

std::filesystem::path programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

#ifdef SSO_SERVICE
struct ServiceHold::Held {
    service::BusHold bus;
};
#else
struct ServiceHold::Held {};
#endif

ServiceHold::ServiceHold() = default;
ServiceHold::~ServiceHold() = default;
ServiceHold::ServiceHold(ServiceHold&& other) noexcept = default;
ServiceHold& ServiceHold::operator=(ServiceHold&& other) noexcept = default;

const std::string& ServiceHold::address() const { return m_address; }

ServiceHold ServiceHold::get([[maybe_unused]] const Options& options) {
    ServiceHold hold;
#ifdef SSO_SERVICE
    if (options.state.empty()) return hold;
    hold.m_held = std::make_unique<Held>(Held{service::BusHold::get(programFolder() / "ssod")});
    hold.m_address = hold.m_held->bus.address();
#endif
    return hold;
}

void ServiceHold::renew() {
#ifdef SSO_SERVICE
    if (m_held) m_held->bus.renew();
#endif
}

void prepareEnvironment(const Options& options, const ServiceHold& service) {
    // Without --log, a level that the user has set counts.
    setenv("DLOG_LEVEL", options.log ? "detail" : "silent", options.log ? 1 : 0);
    if (!options.account.empty()) setenv("SSO_ACCOUNT_FILE", options.account.c_str(), 1);
    if (service.address().empty()) {
        unsetenv("SSO_STATE");
    } else {
        setenv("SSO_STATE", options.state.c_str(), 1);
        setenv("SSO_BUS_ADDRESS", service.address().c_str(), 1);
    }
}

}  // namespace embedder
