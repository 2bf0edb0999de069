// The account service's remote control.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "command_line.h"
#include "doctor.h"
#include "remote.h"
#include "service/bus_address.h"
#include "verb.h"

namespace {

using namespace ssoctl;

int run(const CommandLine& line) {
    const auto ssod = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "ssod";
    // It is for when nothing else works.
    if (line.words == std::vector<std::string>{"doctor"}) {
        return examine(ssod, line.state, line.json) ? kDone : kRefused;
    }
    const auto hold = [&] {
        try {
            return service::BusHold::get(ssod);
        } catch (const std::exception& error) {
            throw Failure(kUnreachable, error.what());
        }
    }();
    Remote remote(hold.address(), line.state);
    Session session{remote, line.json};
    if (line.words.empty()) {
        doVerb(session, {"--help"}, nullptr);
        return kWrongWords;
    }
    doVerb(session, line.words, nullptr);
    return kDone;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const CommandLine line = parseCommandLine({argv + 1, argv + argc});
        if (line.version) {
            std::puts("ssoctl " SSO_VERSION);
            return kDone;
        }
        return run(line);
    } catch (const Failure& failure) {
        std::fprintf(stderr, "ssoctl: %s\n", failure.what());
        return failure.exit();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ssoctl: %s\n", error.what());
        return kRefused;
    }
}
