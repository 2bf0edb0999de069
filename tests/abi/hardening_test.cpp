#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "elf_file.h"
#include "not_applicable.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;

class AHardenedLibrary : public ::testing::TestWithParam<const char*> {
  protected:
    const elf::ElfFile m_elf{GetParam() == std::string("libsso.so")
                                 ? support::modulePath()
                                 : support::builtPath(std::string("lib/") + GetParam())};
};

TEST_P(AHardenedLibrary, BindsEverythingAtLoad) {
    EXPECT_NE(m_elf.dynamicValue(DT_FLAGS) & DF_BIND_NOW, 0U);
    EXPECT_NE(m_elf.dynamicValue(DT_FLAGS_1) & DF_1_NOW, 0U);
}

TEST_P(AHardenedLibrary, MakesItsTablesReadOnlyAfterRelocation) {
    EXPECT_THAT(m_elf.programHeader(PT_GNU_RELRO), NotNull());
    EXPECT_TRUE(m_elf.isRelro(".dynamic"));
    EXPECT_TRUE(m_elf.isRelro(".got"));
}

TEST_P(AHardenedLibrary, HasNoExecutableStack) {
    const GElf_Phdr* stack = m_elf.programHeader(PT_GNU_STACK);
    ASSERT_THAT(stack, NotNull());
    EXPECT_EQ(stack->p_flags & PF_X, 0U);
}

TEST_P(AHardenedLibrary, LetsLibraryPathComeBeforeItsOwn) {
    EXPECT_THAT(m_elf.dynamicTexts(DT_RPATH), IsEmpty());
    if (m_elf.dynamicTexts(DT_RUNPATH).empty()) NOT_APPLICABLE("it has no RUNPATH");
    EXPECT_THAT(m_elf.dynamicTexts(DT_RUNPATH), ElementsAre("$ORIGIN/../lib"));
}

TEST_P(AHardenedLibrary, ChecksItsStack) {
    EXPECT_EQ(m_elf.undefinedSymbols().count("__stack_chk_fail"), 1U);
}

INSTANTIATE_TEST_SUITE_P(OfTheTree, AHardenedLibrary,
                         ::testing::Values("libsso.so", "libsso_api.so", "libvconf.so",
                                           "libdlog.so", "libht.so"),
                         [](const auto& info) {
                             const std::string file = info.param;
                             return file.substr(0, file.find('.'));
                         });

}  // namespace
