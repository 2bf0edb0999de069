#ifndef ABI_NOT_APPLICABLE_H_
#define ABI_NOT_APPLICABLE_H_

#include <gtest/gtest.h>

#include <string>

#include "elf_file.h"
#include "module_path.h"

/// Ends a test that another build of the module need not pass, and says why. Our own build has to
/// pass it: there it fails.
#define NOT_APPLICABLE(reason)                                    \
    do {                                                          \
        if (support::moduleIsForeign()) GTEST_SKIP() << (reason); \
        FAIL() << (reason);                                       \
    } while (false)

namespace elf {

/// The module under test, with the symbols that it was stripped of if they are at hand.
inline ElfFile moduleUnderTest() { return ElfFile(support::modulePath(), support::symbolsPath()); }

/// Why the names of what is no part of the module's interface cannot be looked at; "" if they can.
inline std::string noNamesIn(const ElfFile& module) {
    if (module.isStripped()) {
        return "the module is stripped, and --debug-file does not say where its symbols are";
    }
    if (module.compilers().find("clang") != std::string::npos) {
        return "clang wrote it: it spells the names of instances in another way";
    }
    // What is optimised as a whole loses functions, and what is left gets names of its own.
    for (const std::string& symbol : module.symbols()) {
        if (symbol.find(".lto_priv") != std::string::npos ||
            symbol.find("ltrans") != std::string::npos) {
            return "it was optimised when it was linked: functions were merged and renamed";
        }
    }
    return "";
}

}  // namespace elf

#endif
