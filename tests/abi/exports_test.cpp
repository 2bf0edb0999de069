#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>

#include "elf_file.h"
#include "module_path.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;
using Names = std::set<std::string>;

Names startingWith(const std::string& prefix, const Names& names) {
    Names chosen;
    std::copy_if(names.begin(), names.end(), std::inserter(chosen, chosen.end()),
                 [&](const std::string& name) { return name.rfind(prefix, 0) == 0; });
    return chosen;
}

Names exportsOf(const std::string& library) {
    return elf::ElfFile(support::builtPath("lib/" + library)).definedSymbols();
}

class ThePlugin : public ::testing::Test {
  protected:
    const elf::ElfFile m_elf{support::modulePath()};
};

TEST_F(ThePlugin, ExportsItsFourEntriesAndNothingElse) {
    EXPECT_EQ(m_elf.definedSymbols(), (Names{"PPP_InitializeModule", "PPP_GetInterface",
                                             "PPP_ShutdownModule", "_ZN2pp12CreateModuleEv"}));
}

TEST_F(ThePlugin, IsCalledLibsso) {
    EXPECT_THAT(m_elf.dynamicTexts(DT_SONAME), ElementsAre("libsso.so"));
}

TEST_F(ThePlugin, UsesNoSubscribingCallOfTheConfigurationStore) {
    EXPECT_EQ(startingWith("vconf", m_elf.undefinedSymbols()), Names{"vconf_ignore_key_changed"});
}

TEST_F(ThePlugin, UsesOfTheLogServiceOnlyThePrintCall) {
    EXPECT_EQ(startingWith("__dlog", m_elf.undefinedSymbols()), Names{"__dlog_print"});
    EXPECT_EQ(startingWith("dlog", m_elf.undefinedSymbols()), Names{});
}

TEST_F(ThePlugin, UsesNoControlInterface) {
    for (const std::string& name : m_elf.undefinedSymbols()) {
        EXPECT_EQ(name.find("control"), std::string::npos) << name;
    }
}

TEST_F(ThePlugin, NeedsTheSuppliersLibraries) {
    auto needed = m_elf.dynamicTexts(DT_NEEDED);
    // A device may count versions: "libdlog.so.0".
    for (std::string& name : needed) name.resize(name.rfind(".so") + 3);
    for (const char* library : {"libsso_api.so", "libvconf.so", "libdlog.so"}) {
        EXPECT_EQ(std::count(needed.begin(), needed.end(), library), 1) << library;
    }
    EXPECT_THAT(needed, ::testing::Each(Not(StartsWith("libpepper"))));
}

TEST(TheStandIns, ExportTheirPublicFunctionsAndNothingElse) {
    EXPECT_EQ(exportsOf("libdlog.so"), (Names{"__dlog_print", "dlog_control_set_sink"}));
    EXPECT_EQ(exportsOf("libvconf.so"),
              (Names{"vconf_watch_key_changed", "vconf_ignore_key_changed",
                     "vconf_control_set_observer", "vconf_control_subscriptions"}));
    const Names clientLibrary = {
        // Public
        "sso_show",
        "sso_show_term_page",
        "sso_request_access_token",
        "sso_get_cp_account_mapping_list",
        "sso_add_cp_account_mapping_info",
        "sso_remove_cp_account_mapping_info",
        "sso_get_login_state",
        "sso_get_term_state",
        "sso_get_login_info",
        "sso_get_guid",
        "sso_get_auth_token",
        "sso_give_proxy",
        // For tests
        "sso_api_control_set_observer",
        "sso_api_control_set_text_observer",
        "sso_api_control_set_account",
        "sso_api_control_set_start_result",
        "sso_api_control_set_held",
        "sso_api_control_set_answer",
        "sso_api_control_outstanding",
        "sso_api_control_finish",
    };
    EXPECT_EQ(exportsOf("libsso_api.so"), clientLibrary);
    const Names tracingService = {
        // Public
        "ht_register_library",
        "ht_deregister_library",
        "_ZN16TCScopeContainerC1ERK14TSCodeLocation",
        "_ZN16TCScopeContainerC2ERK14TSCodeLocation",
        "_ZN16TCScopeContainerD1Ev",
        "_ZN16TCScopeContainerD2Ev",
        "_ZN14TCScopeHandler8InstanceER16TCScopeContainer",
        "_ZN14TCScopeHandlerD1Ev",
        "_ZN14TCScopeHandlerD2Ev",
        "_ZN2ht11TSDemangler8DemangleB5cxx11EPKc",
        // For tests
        "ht_control_registered",
        "ht_control_set_registration_observer",
        "ht_control_set_enabled",
        "ht_control_set_item_orders",
        "ht_control_set_call_observer",
        "ht_control_set_failing_write",
        "ht_control_open_scopes",
        "ht_control_set_step_observer",
    };
    EXPECT_EQ(exportsOf("libht.so"), tracingService);
}

TEST(TheStandIns, CarryTheSonamesOfADevice) {
    for (const char* library : {"libdlog.so", "libvconf.so", "libsso_api.so", "libht.so"}) {
        EXPECT_THAT(
            elf::ElfFile(support::builtPath(std::string("lib/") + library)).dynamicTexts(DT_SONAME),
            ElementsAre(library));
    }
}

}  // namespace
