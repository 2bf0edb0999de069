#include "fixture.h"

#include <cstdlib>

namespace call_trace_test {
namespace {

Ended copyOf(const HtCall& call) {
    Ended ended{call.location, {}, {}, {}, {}, call.flags, call.depth, call.beginNs, call.endNs};
    for (std::size_t i = 0; i < call.textCount; ++i) {
        const char* text = call.texts[i];
        ended.texts.push_back(text != nullptr ? std::optional<std::string>(text) : std::nullopt);
    }
    ended.typeNames.assign(call.typeNames, call.typeNames + call.typeCount);
    ended.kinds.assign(call.kinds, call.kinds + call.typeCount);
    ended.tags.assign(call.tags, call.tags + call.typeCount);
    return ended;
}

}  // namespace

TheTracingService::TheTracingService() {
    unsetenv("HT_TRACE");
    ht_register_library(&m_enabled);
    ht_control_set_call_observer(
        [](const HtCall* call, void* user) {
            auto& self = *static_cast<TheTracingService*>(user);
            const std::lock_guard lock(self.m_mutex);
            self.m_ended.push_back(copyOf(*call));
        },
        this);
}

TheTracingService::~TheTracingService() {
    ht_control_set_call_observer(nullptr, nullptr);
    ht_control_set_step_observer(nullptr, nullptr);
    ht_control_set_registration_observer(nullptr, nullptr);
    ht_control_set_failing_write(0);
    setOrders(2, false);
    ht_control_set_enabled(0);
    ht_deregister_library(&m_enabled);
    EXPECT_EQ(ht_control_registered(nullptr, 0), 0U);
    EXPECT_EQ(ht_control_open_scopes(), 0U);
}

void TheTracingService::setOrders(unsigned flags, bool recordsTypes) {
    const HtItemOrders orders{flags, recordsTypes ? 1 : 0};
    ht_control_set_item_orders(&orders);
}

Texts TheTracingService::onlyTexts() const {
    EXPECT_EQ(m_ended.size(), 1U);
    return m_ended.size() == 1 ? m_ended[0].texts : Texts{"no call, or several"};
}

}  // namespace call_trace_test
