// A scope takes no memory unless the service asks for formatters or types.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <thread>

#include "allocation_counter.h"
#include "ht_control.h"
#include "trace/scope.h"

namespace {

using support::allocationsOf;

/// A traced function with a further text in its middle; another one for each number.
template <int number>
void traced() {
    TRACE_SCOPE(traceScope, 100, "traced");
    trace::storeText(&traceScope, "traced done");
}

class Allocation : public ::testing::Test {
  protected:
    Allocation() { ht_control_set_enabled(0); }
    ~Allocation() override { ht_control_set_enabled(0); }
};

TEST_F(Allocation, IsNoneAtTheFirstPassOfAnUntracedScope) {
    EXPECT_EQ(allocationsOf(traced<1>), 0U);
}

TEST_F(Allocation, IsNoneAtLaterPassesOfAnUntracedScope) {
    traced<2>();
    EXPECT_EQ(allocationsOf([] {
                  for (int pass = 0; pass < 100; ++pass) {
                      traced<2>();
                  }
              }),
              0U);
}

TEST_F(Allocation, IsNoneAtTheFirstPassOnANewThread) {
    std::size_t count = 77;
    std::thread([&] { count = allocationsOf(traced<3>); }).join();
    EXPECT_EQ(count, 0U);
}

TEST_F(Allocation, IsNoneOnceAScopeIsNotTracedAnyMore) {
    ht_control_set_enabled(1);
    traced<4>();
    ht_control_set_enabled(0);
    EXPECT_EQ(allocationsOf(traced<4>), 0U);
}

// The twin of those above: without it they could pass because nothing is counted.
TEST_F(Allocation, IsCountedWhenAScopeIsTraced) {
    ht_control_set_enabled(1);
    EXPECT_GE(allocationsOf(traced<5>), 1U);
}

TEST_F(Allocation, IsCountedHoweverItIsMade) {
    void* volatile memory = nullptr;  // lest the compiler leaves the pairs out
    EXPECT_EQ(allocationsOf([&] { memory = ::operator new(1); }), 1U);
    ::operator delete(memory);
    EXPECT_EQ(allocationsOf([&] { memory = std::malloc(1); }), 1U);
    std::free(memory);
    EXPECT_EQ(allocationsOf([&] { memory = std::calloc(1, 1); }), 1U);
    std::free(memory);
}

/// Writes nowhere.
class NoWriter final : public ht::TSTextWriter {
  public:
    void Write(const char*, std::size_t) override {}
    void WriteNull() override {}
};

/// The allocations of storing a text into an item whose sequences are empty.
std::size_t ofStoring(unsigned flags, bool recordsTypes) {
    NoWriter writer;
    int id = 0;
    int off = 0;
    const TSCodeLocation location{"source.cpp", 1, "void function()", &id, &off};
    TCScopeContainer scope(location);
    ht::TSCallItemHelper item{};
    item.active = true;
    item.flags = flags;
    item.writer = &writer;
    item.recordsTypes = recordsTypes;
    return allocationsOf([&] { scope.m_Store<const char[5]>(&item, "text"); });
}

TEST_F(Allocation, IsNoneWhenATextIsWrittenAtOnceOrNotAtAll) {
    EXPECT_EQ(ofStoring(0, false), 0U);
    EXPECT_EQ(ofStoring(1, false), 0U);
    EXPECT_GE(ofStoring(2, false), 1U);
    EXPECT_GE(ofStoring(0, true), 1U);
}

}  // namespace
