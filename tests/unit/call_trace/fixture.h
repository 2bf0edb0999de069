#ifndef CALL_TRACE_FIXTURE_H_
#define CALL_TRACE_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "ht_control.h"
#include "library.h"

namespace call_trace_test {

using Texts = std::vector<std::optional<std::string>>;

/// One call that ended, as the control interface tells of it.
struct Ended {
    const TSCodeLocation* location;
    Texts texts;
    std::vector<std::string> typeNames;
    std::vector<int> kinds;
    std::vector<int> tags;
    unsigned flags;
    std::size_t depth;
    std::int64_t beginNs;
    std::int64_t endNs;
};

/// The service with one library, whose cell is m_enabled. Afterwards it is as it was at first.
class TheTracingService : public ::testing::Test {
  protected:
    TheTracingService();
    ~TheTracingService() override;

    static void setOrders(unsigned flags, bool recordsTypes);

    /// All calls that have ended. Not while others are being traced.
    const std::vector<Ended>& ended() const { return m_ended; }
    /// The texts of the only call that has ended.
    Texts onlyTexts() const;

    int m_enabled = -1;
    const Place m_outer{"void Class::outer()", &m_enabled, 10};
    const Place m_inner{"void Class::inner(int)", &m_enabled, 20};

  private:
    std::mutex m_mutex;
    std::vector<Ended> m_ended;
};

}  // namespace call_trace_test

#endif
