// What a message costs a module, in figures that are the same each time: calls of the browser's tables and
// allocations, counted here; instructions and system calls, for which this program runs in valgrind and
// marks where each case begins and ends. scripts/check-cost puts them together.
//
//   bench-cost MODULE    prints a line for each case: its name, and the figures of one message, as JSON

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "allocation_counter.h"
#include "native/browser.h"

// Valgrind is told this name: it ends one count and begins the next.
extern "C" [[gnu::noinline]] void benchMark();
void benchMark() {
    syscall(SYS_getppid);  // seen among the system calls
}

namespace {

constexpr int kMessages = 100;

struct Case {
    std::string name;
    PP_Var message;
    bool isBlocking;
};

void run(PP_Instance instance, const Case& wanted, int count) {
    for (int i = 0; i < count; ++i) {
        if (wanted.isBlocking) {
            bench::release(bench::handleBlocking(instance, wanted.message));
        } else {
            bench::handle(instance, wanted.message);
        }
    }
}

/// Rounded: of what is done for every second message one is seen, of what is done once none.
std::size_t ofOne(std::size_t count) { return (count + kMessages / 2) / kMessages; }

void measure(PP_Instance instance, const Case& wanted) {
    run(instance, wanted, 3);  // what is done once is done
    bench::countTableCalls(true);
    const std::size_t answersBefore = bench::answers();
    const std::size_t before = support::allocations();
    benchMark();
    run(instance, wanted, kMessages);
    benchMark();
    const std::size_t allocations = support::allocations() - before - bench::allocationsInTables();
    bench::countTableCalls(false);
    const std::size_t answers = bench::answers() - answersBefore;
    if (answers != (wanted.isBlocking ? 0 : kMessages)) {
        throw std::runtime_error(wanted.name + ": " + std::to_string(answers) + " answers");
    }

    nlohmann::ordered_json figures{{"case", wanted.name}, {"messages", kMessages}};
    std::size_t calls = 0;
    nlohmann::ordered_json& byFunction = figures["tables"];
    for (const auto& [function, count] : bench::tableCalls()) {
        byFunction[function] = ofOne(count);
        calls += count;
    }
    figures["tableCalls"] = ofOne(calls);
    figures["allocations"] = ofOne(allocations);
    std::printf("%s\n", figures.dump().c_str());
}

std::vector<Case> cases() {
    const auto command = [](const char* name) { return bench::request({{"command", name}}); };
    return {
        {"blocking getVersion", command("sso_plugin_getVersion"), true},
        {"blocking getSSOState", command("sso_plugin_getSSOState"), true},
        {"blocking refused", command("sso_plugin_noSuchCommand"), true},
        {"blocking malformed", PP_MakeInt32(4711), true},
        {"token",
         bench::request({{"command", "sso_plugin_getZEVAccessToken"},
                         {"id", "demo-client"},
                         {"secret", "demo-secret"}}),
         false},
        {"refused", command("sso_plugin_noSuchCommand"), false},
        {"malformed", PP_MakeInt32(4711), false},
    };
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench-cost MODULE\n");
        return 2;
    }
    try {
        bench::g_allocations = &support::allocations;
        bench::Module module(argv[1]);
        const PP_Instance instance = module.make();
        for (const Case& wanted : cases()) {
            measure(instance, wanted);
            bench::release(wanted.message);
        }
        module.destroy(instance);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-cost: %s\n", error.what());
        return 1;
    }
}
