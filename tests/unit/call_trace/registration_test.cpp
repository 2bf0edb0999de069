// Libraries come and go, and the service switches their tracing.

#include <dlfcn.h>

#include <string>
#include <utility>
#include <vector>

#include "fixture.h"
#include "module_path.h"

namespace {

using call_trace_test::TheTracingService;
using ::testing::ElementsAre;

std::vector<int*> registered() {
    std::vector<int*> cells(ht_control_registered(nullptr, 0));
    EXPECT_EQ(ht_control_registered(cells.data(), cells.size()), cells.size());
    return cells;
}

TEST_F(TheTracingService, IsOffAtFirst) { EXPECT_EQ(m_enabled, 0); }

TEST_F(TheTracingService, SwitchesRegisteredLibraries) {
    int other = -1;
    ht_register_library(&other);
    ht_control_set_enabled(1);
    EXPECT_EQ(m_enabled, 1);
    EXPECT_EQ(other, 1);
    ht_control_set_enabled(0);
    EXPECT_EQ(m_enabled, 0);
    EXPECT_EQ(other, 0);
    ht_deregister_library(&other);
}

TEST_F(TheTracingService, SwitchesWithAnyNumberButZero) {
    ht_control_set_enabled(-7);
    EXPECT_EQ(m_enabled, 1);
}

TEST_F(TheTracingService, SwitchesALibraryThatComesLater) {
    ht_control_set_enabled(1);
    int late = -1;
    ht_register_library(&late);
    EXPECT_EQ(late, 1);
    ht_deregister_library(&late);
    ht_control_set_enabled(0);
    late = -1;
    ht_register_library(&late);
    EXPECT_EQ(late, 0);
    ht_deregister_library(&late);
}

TEST_F(TheTracingService, LeavesADeregisteredCellAlone) {
    ht_deregister_library(&m_enabled);
    m_enabled = 77;
    ht_control_set_enabled(1);
    EXPECT_EQ(m_enabled, 77);
    ht_control_set_enabled(0);
    EXPECT_EQ(m_enabled, 77);
}

TEST_F(TheTracingService, ListsLibrariesInTheOrderOfRegistration) {
    int second = 0;
    int third = 0;
    ht_register_library(&second);
    ht_register_library(&third);
    EXPECT_THAT(registered(), ElementsAre(&m_enabled, &second, &third));
    ht_deregister_library(&m_enabled);
    EXPECT_THAT(registered(), ElementsAre(&second, &third));
    ht_register_library(&m_enabled);
    EXPECT_THAT(registered(), ElementsAre(&second, &third, &m_enabled));
    ht_deregister_library(&third);
    ht_deregister_library(&second);
}

TEST_F(TheTracingService, ListsALibraryOnceThatComesTwice) {
    int other = 0;
    ht_register_library(&other);
    ht_register_library(&m_enabled);
    EXPECT_THAT(registered(), ElementsAre(&m_enabled, &other));
    ht_deregister_library(&m_enabled);
    EXPECT_THAT(registered(), ElementsAre(&other));
    ht_deregister_library(&other);
}

TEST_F(TheTracingService, SwitchesALibraryOnThatComesTwice) {
    ht_control_set_enabled(1);
    m_enabled = 0;
    ht_register_library(&m_enabled);
    EXPECT_EQ(m_enabled, 1);
}

TEST_F(TheTracingService, TakesTheDeregistrationOfAnUnknownLibrary) {
    int unknown = 77;
    ht_deregister_library(&unknown);
    ht_deregister_library(&unknown);
    EXPECT_THAT(registered(), ElementsAre(&m_enabled));
    EXPECT_EQ(unknown, 77);
}

TEST_F(TheTracingService, ListsNoMoreThanThereIsRoomFor) {
    int other = 0;
    ht_register_library(&other);
    int* cells[2] = {nullptr, nullptr};
    EXPECT_EQ(ht_control_registered(cells, 1), 2U);
    EXPECT_THAT(cells, ElementsAre(&m_enabled, nullptr));
    ht_deregister_library(&other);
}

TEST_F(TheTracingService, TellsOfEveryRegistration) {
    using Told = std::vector<std::pair<int*, bool>>;
    Told told;
    ht_control_set_registration_observer(
        [](int* enabled, bool isThere, void* user) {
            static_cast<Told*>(user)->emplace_back(enabled, isThere);
        },
        &told);
    int other = 0;
    ht_register_library(&other);
    ht_register_library(&other);
    ht_deregister_library(&other);
    ht_deregister_library(&other);
    EXPECT_EQ(told, (Told{{&other, true}, {&other, true}, {&other, false}, {&other, false}}));
    ht_control_set_registration_observer(nullptr, nullptr);
    ht_register_library(&other);
    ht_deregister_library(&other);
    EXPECT_EQ(told.size(), 4U);
}

/// What must not outlast a library is its cell, its places and the code of its formatters.
TEST_F(TheTracingService, KeepsNothingOfALibraryThatGoes) {
    setOrders(3, true);
    for (int round = 0; round < 3; ++round) {
        ht_control_set_enabled(1);
        void* module = dlopen(support::builtPath("lib/call-trace-module.so").c_str(), RTLD_NOW);
        ASSERT_NE(module, nullptr) << dlerror();
        const auto traced = reinterpret_cast<int (*)()>(dlsym(module, "traced"));
        EXPECT_EQ(traced(), 1);
        EXPECT_EQ(registered().size(), 2U);
        ASSERT_EQ(dlclose(module), 0);
        ASSERT_EQ(
            dlopen(support::builtPath("lib/call-trace-module.so").c_str(), RTLD_NOW | RTLD_NOLOAD),
            nullptr);
        EXPECT_THAT(registered(), ElementsAre(&m_enabled));
        ht_control_set_enabled(0);
        const call_trace_test::Scope scope(m_outer, "after it");
    }
    EXPECT_EQ(ended().size(), 3U);
    EXPECT_EQ(ended().back().texts, (call_trace_test::Texts{"kept for later", "kept for later"}));
}

}  // namespace
