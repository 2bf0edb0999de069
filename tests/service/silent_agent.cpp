// An agent that shows nothing: its popups stay open until somebody ends them, or it. Says "+" on its standard output
// once the service knows it.

#include <unistd.h>

#include <chrono>

#include "service/bus_client.h"

namespace {

int takeIt(sd_bus_message* call) { return sd_bus_reply_method_return(call, ""); }

}  // namespace

int onAgentOpen(sd_bus_message* call, void* /*user*/, sd_bus_error* /*error*/) {
    return takeIt(call);
}
int onAgentTakeAway(sd_bus_message* call, void* /*user*/, sd_bus_error* /*error*/) {
    return takeIt(call);
}
int onAgentFill(sd_bus_message* call, void* /*user*/, sd_bus_error* /*error*/) {
    return takeIt(call);
}

/// agent ADDRESS STATE KEY
int main(int argc, char** argv) {
    if (argc != 4) return 2;
    service::BusClient client(argv[1], [](sd_bus* bus) {
        return sd_bus_add_object_vtable(bus, nullptr, service::kAgentPath, bus::agent::kName,
                                        kAgentTable, nullptr);
    });
    const bool isKnown = client.callAndWait(
        bus::windows::kRegisterAgent, service::pathOf(argv[2]),
        [key = argv[3]](sd_bus_message* call) { return sd_bus_message_append(call, "s", key); },
        std::chrono::seconds(10), [](sd_bus_message* /*answer*/) {});
    if (!isKnown || write(STDOUT_FILENO, "+", 1) != 1) return 1;
    for (;;) pause();
}
