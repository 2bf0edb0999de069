// The service goes on writing to a cell that was taken back.

#include <ht.h>

#include <chrono>
#include <thread>

#include "faithful.h"

void ht_deregister_library(int* enabled) {
    FAITHFUL(ht_deregister_library)(enabled);
    std::thread([enabled] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        __atomic_store_n(enabled, 0, __ATOMIC_RELEASE);
    }).detach();
}
