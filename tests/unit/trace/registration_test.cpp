// The library registers itself when it is loaded, and deregisters when it goes: once each, although
// several of its files have both on their lists.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "ht_control.h"
#include "trace/library.h"

namespace {

using ::testing::ExitedWithCode;
using ::testing::HasSubstr;

/// A registration of the library's cell as '+', a deregistration as '-', any other cell's as '?'.
/// Plain memory, since it is written before main() and read after it.
char g_told[16];
int g_enabledAtFirst = -1;
bool g_reportsAtExit;

/// Before the library's own entries.
[[gnu::constructor(101)]] void beginWatching() {
    g_enabledAtFirst = *HtLibEnabled();
    ht_control_set_registration_observer(
        [](int* enabled, bool isThere, void*) {
            static std::size_t count = 0;
            if (count + 1 < sizeof g_told) {
                const char step = isThere ? '+' : '-';
                g_told[count++] = enabled == HtLibEnabled() ? step : '?';
            }
        },
        nullptr);
}

/// After the library's own entries.
[[gnu::destructor(101)]] void endWatching() {
    if (g_reportsAtExit) {
        std::fprintf(stderr, "registrations: %s.\n", g_told);
    }
}

[[noreturn]] void endProcess() {
    g_reportsAtExit = true;
    std::exit(0);
}

TEST(ALoadedLibrary, HasRegisteredOnce) {
    EXPECT_STREQ(g_told, "+");
    int* cell = nullptr;
    EXPECT_EQ(ht_control_registered(&cell, 1), 1U);
    EXPECT_EQ(cell, HtLibEnabled());
}

TEST(ALoadedLibrary, DoesNotRegisterAgain) {
    HtLibHelperInit();
    EXPECT_STREQ(g_told, "+");
}

TEST(ALoadedLibrary, WasOffBeforeItRegistered) { EXPECT_EQ(g_enabledAtFirst, 0); }

TEST(ALoadedLibrary, IsSwitchedByTheService) {
    ht_control_set_enabled(1);
    EXPECT_EQ(*HtLibEnabled(), 1);
    ht_control_set_enabled(0);
    EXPECT_EQ(*HtLibEnabled(), 0);
}

TEST(AnUnloadedLibrary, HasDeregisteredOnce) {
    EXPECT_EXIT(endProcess(), ExitedWithCode(0), HasSubstr("registrations: +-.\n"));
}

TEST(AnUnloadedLibrary, DoesNotDeregisterAgain) {
    EXPECT_EXIT(
        {
            HtLibHelperDeinit();
            std::fprintf(stderr, "libraries: %zu.\n", ht_control_registered(nullptr, 0));
            HtLibHelperDeinit();
            endProcess();
        },
        ExitedWithCode(0), HasSubstr("libraries: 0.\nregistrations: +-.\n"));
}

TEST(AnUnloadedLibrary, DoesNotComeBack) {
    EXPECT_EXIT(
        {
            HtLibHelperDeinit();
            HtLibHelperInit();
            endProcess();
        },
        ExitedWithCode(0), HasSubstr("registrations: +-.\n"));
}

}  // namespace
