#include "control.h"

#include <atomic>

#include "libraries.h"
#include "scope.h"
#include "settings.h"
#include "text_list.h"

namespace call_trace {

base::Observer<void (*)(int*, bool, void*)> g_registrationObserver;
base::Observer<void (*)(const HtCall*, void*)> g_callObserver;
base::Observer<void (*)(const char*, const TSCodeLocation*, void*)> g_stepObserver;

namespace {

/// Aligned so that a processor reads it at once: a lock might be held while the process forks.
struct alignas(sizeof(HtItemOrders)) AtomicOrders {
    HtItemOrders orders;
};

std::atomic<AtomicOrders>& orders() {
    static std::atomic<AtomicOrders> orders{
        {{ht::TSCallItemHelper::kWriteLater, settings().recordsTypes ? 1 : 0}}};
    static_assert(std::atomic<AtomicOrders>::is_always_lock_free);
    return orders;
}

}  // namespace

HtItemOrders itemOrders() { return orders().load().orders; }

}  // namespace call_trace

using namespace call_trace;

std::size_t ht_control_registered(int** cells, std::size_t size) {
    return Libraries::instance().cells(cells, size);
}

void ht_control_set_registration_observer(void (*observer)(int* enabled, bool registered,
                                                           void* user),
                                          void* user) {
    g_registrationObserver.set(observer, user);
}

void ht_control_set_enabled(int enabled) { Libraries::instance().setEnabled(enabled != 0); }

void ht_control_set_item_orders(const HtItemOrders* orders) {
    call_trace::orders() = AtomicOrders{*orders};
}

void ht_control_set_call_observer(void (*observer)(const HtCall* call, void* user), void* user) {
    g_callObserver.set(observer, user);
}

void ht_control_set_failing_write(int nth) { setFailingWrite(nth); }

std::size_t ht_control_open_scopes() { return openScopes(); }

void ht_control_set_step_observer(void (*observer)(const char* step, const TSCodeLocation* location,
                                                   void* user),
                                  void* user) {
    g_stepObserver.set(observer, user);
}
