#include "scope.h"

#include "base/never_destroyed.h"
#include "call.h"
#include "cell.h"
#include "control.h"
#include "ht.h"
#include "place.h"

// What every function of a traced library runs, mostly with tracing off: then it takes no lock, no
// memory and no time of the clock.

namespace call_trace {
namespace {

thread_local std::size_t t_openScopes = 0;

/// The item of all calls that are not traced. Nobody writes to it.
base::NeverDestroyed<ht::TSCallItemHelper> g_inactiveItem;

void tellStep(const char* step, const TSCodeLocation* location) {
    if (__builtin_expect(g_stepObserver.isSet(), 0)) {
        g_stepObserver.tell(step, location);
    }
}

}  // namespace

std::size_t openScopes() { return t_openScopes; }

}  // namespace call_trace

using namespace call_trace;

TCScopeContainer::TCScopeContainer(const TSCodeLocation& location)
    : m_location(&location), m_call(nullptr) {
    ++t_openScopes;
    tellStep("container", &location);
    if (__builtin_expect(readCell(placeOf(location).enabled), 0)) {
        m_call = beginCall(location);
    }
}

TCScopeContainer::~TCScopeContainer() {
    tellStep("~container", m_location);
    if (__builtin_expect(m_call != nullptr, 0)) {
        endCall(static_cast<Call*>(m_call));
    }
    --t_openScopes;
}

TCScopeHandler TCScopeHandler::Instance(TCScopeContainer& container) {
    tellStep("handler", container.m_location);
    Call* call = static_cast<Call*>(container.m_call);
    return {call != nullptr ? &call->item : &*g_inactiveItem, container.m_location};
}

TCScopeHandler::~TCScopeHandler() { tellStep("~handler", m_location); }
