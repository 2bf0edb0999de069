#include "call.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "control.h"
#include "place.h"
#include "recording.h"

namespace call_trace {
namespace {

thread_local Call* t_current = nullptr;

std::int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// The number of a place, a new one at its first call.
int numberOf(const Place& location) {
    static std::atomic<int> last = 0;
    int number = __atomic_load_n(location.id, __ATOMIC_RELAXED);
    if (number != 0) {
        return number;
    }
    const int next = ++last;  // lost when another thread is faster
    return __atomic_compare_exchange_n(location.id, &number, next, false, __ATOMIC_RELAXED,
                                       __ATOMIC_RELAXED)
               ? next
               : number;
}

/// Runs the formatters that were kept. One that throws loses its text: the traced function is
/// ending, maybe because of an exception, and may not get another one.
void runFormatters(ht::TSCallItemHelper& item) {
    const auto formatters = std::move(item.formatters);
    item.formatters.clear();
    for (const auto& formatter : formatters) {
        try {
            if (formatter) {
                formatter(&item);
            }
        } catch (...) {  // see above
        }
    }
}

void tellObserver(const Call& call) {
    std::vector<const char*> texts;
    for (const auto& text : call.texts.texts()) {
        texts.push_back(text ? text->c_str() : nullptr);
    }
    std::vector<const char*> typeNames;
    for (const std::string& name : call.item.typeNames) {
        typeNames.push_back(name.c_str());
    }
    HtCall told{};
    told.location = call.location;
    told.texts = texts.data();
    told.textCount = texts.size();
    told.typeNames = typeNames.data();
    told.kinds = call.item.kinds.data();
    told.tags = call.item.tags.data();
    told.typeCount = call.typeCount();
    told.flags = call.item.flags;
    told.depth = call.depth;
    told.beginNs = call.beginNs;
    told.endNs = call.endNs;
    g_callObserver.tell(&told);
}

}  // namespace

std::size_t Call::typeCount() const {
    return std::min({item.typeNames.size(), item.kinds.size(), item.tags.size()});
}

Call* beginCall(const TSCodeLocation& location) noexcept {
    try {
        auto call = std::make_unique<Call>();
        const HtItemOrders orders = itemOrders();
        call->location = &location;
        call->place = numberOf(placeOf(location));
        call->enclosing = t_current;
        call->depth = t_current != nullptr ? t_current->depth + 1 : 0;
        call->item.active = true;
        call->item.flags = orders.flags;
        call->item.writer = &call->texts;
        call->item.recordsTypes = orders.recordsTypes != 0;
        t_current = call.get();
        call->beginNs = nowNs();
        return call.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void endCall(Call* call) noexcept {
    call->endNs = nowNs();
    const std::unique_ptr<Call> owned(call);
    t_current = call->enclosing;
    try {
        runFormatters(call->item);
        if (g_callObserver.isSet()) {
            tellObserver(*call);
        }
        record(*call);
    } catch (...) {  // no memory: the call is not recorded
    }
}

}  // namespace call_trace
