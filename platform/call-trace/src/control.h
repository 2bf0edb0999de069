#ifndef CALL_TRACE_CONTROL_H_
#define CALL_TRACE_CONTROL_H_

#include "base/observer.h"
#include "ht_control.h"

namespace call_trace {

/// What tests have set through ht_control.h.
extern base::Observer<void (*)(int*, bool, void*)> g_registrationObserver;
extern base::Observer<void (*)(const HtCall*, void*)> g_callObserver;
extern base::Observer<void (*)(const char*, const TSCodeLocation*, void*)> g_stepObserver;

HtItemOrders itemOrders();

}  // namespace call_trace

#endif
