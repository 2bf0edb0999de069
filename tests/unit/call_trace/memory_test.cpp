// A scope that is not traced takes no memory, whatever thread it is on.

#include <cstddef>
#include <thread>

#include "allocation_counter.h"
#include "fixture.h"

namespace {

using call_trace_test::Scope;
using call_trace_test::TheTracingService;

class Memory : public TheTracingService {
  protected:
    /// The allocations of a traced function that calls another one, on this thread.
    std::size_t ofTwoScopes() const {
        return support::allocationsOf([this] {
            Scope outer(m_outer, "outer");
            Scope inner(m_inner, "inner");
        });
    }
};

TEST_F(Memory, IsNotTakenByUntracedScopes) { EXPECT_EQ(ofTwoScopes(), 0U); }

TEST_F(Memory, IsNotTakenByUntracedScopesOfANewThread) {
    std::size_t taken = 77;
    std::thread([&] { taken = ofTwoScopes(); }).join();
    EXPECT_EQ(taken, 0U);
}

TEST_F(Memory, IsNotTakenByScopesOnceTheyAreNotTracedAnyMore) {
    ht_control_set_enabled(1);
    ofTwoScopes();
    ht_control_set_enabled(0);
    EXPECT_EQ(ofTwoScopes(), 0U);
}

// The twin of those above: without it they could pass because nothing is counted.
TEST_F(Memory, IsTakenByTracedScopes) {
    ht_control_set_enabled(1);
    EXPECT_GE(ofTwoScopes(), 2U);
}

}  // namespace
