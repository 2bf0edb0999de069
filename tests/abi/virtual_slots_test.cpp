// The order of the virtual functions, read from the tables in the built object.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "elf_file.h"
#include "not_applicable.h"

namespace {

/// Each slot is given by the names that its function may have: the complete-object and the
/// base-object destructor of a class without virtual bases are one function.
using Slots = std::vector<std::vector<std::string>>;

void expectSlots(const std::string& vtableSymbol, const Slots& expected) {
    const elf::ElfFile module = elf::moduleUnderTest();
    if (module.isStripped()) NOT_APPLICABLE(elf::noNamesIn(module));
    const auto actual = module.virtualSlots(vtableSymbol);
    ASSERT_EQ(actual.size(), expected.size());
    for (size_t slot = 0; slot < expected.size(); ++slot) {
        for (const std::string& name : expected[slot]) {
            EXPECT_EQ(actual[slot].count(name), 1U) << "slot " << slot << " is not " << name;
        }
    }
}

TEST(TheModuleClass, HasItsVirtualSlotsInOrder) {
    expectSlots("_ZTV16CPluginSSOModule", {
                                              {"_ZN16CPluginSSOModuleD1Ev"},
                                              {"_ZN16CPluginSSOModuleD0Ev"},
                                              {"_ZN2pp6Module4InitEv"},
                                              {"_ZN16CPluginSSOModule14CreateInstanceEi"},
                                          });
}

TEST(TheInstanceClass, HasItsVirtualSlotsInOrder) {
    expectSlots("_ZTV10CPluginSSO", {
                                        {"_ZN10CPluginSSOD1Ev"},
                                        {"_ZN10CPluginSSOD0Ev"},
                                        {"_ZN10CPluginSSO4InitEjPPKcS2_"},
                                        {"_ZN2pp8Instance13DidChangeViewERKNS_4ViewE"},
                                        {"_ZN2pp8Instance13DidChangeViewERKNS_4RectES3_"},
                                        {"_ZN2pp8Instance14DidChangeFocusEb"},
                                        {"_ZN2pp8Instance16HandleInputEventERKNS_10InputEventE"},
                                        {"_ZN2pp8Instance18HandleDocumentLoadERKNS_9URLLoaderE"},
                                        {"_ZN2pp8Instance13HandleMessageERKNS_3VarE"},
                                    });
}

TEST(TheHandlerClass, HasItsVirtualSlotsInOrder) {
    const std::string arguments = "EN2pp14InstanceHandleERKNS0_3VarE";
    expectSlots("_ZTV24CPluginSSOMessageHandler",
                {
                    {"_ZN24CPluginSSOMessageHandlerD1Ev"},
                    {"_ZN24CPluginSSOMessageHandlerD0Ev"},
                    {"_ZN20PPBaseMessageHandler13HandleMessage" + arguments},
                    {"_ZN20PPBaseMessageHandler21HandleBlockingMessage" + arguments},
                    {"_ZN24CPluginSSOMessageHandler15WasUnregisteredEN2pp14InstanceHandleE"},
                    {"_ZN24CPluginSSOMessageHandler17HandleMessageImpl" + arguments},
                    {"_ZN24CPluginSSOMessageHandler25HandleBlockingMessageImpl" + arguments},
                });
}

}  // namespace
