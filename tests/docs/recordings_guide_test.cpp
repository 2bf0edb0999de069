// That docs/recordings.md is true.

#include <gtest/gtest.h>

#include <string>

#include "document.h"
#include "module_path.h"
#include "process.h"
#include "temporary_folder.h"

namespace {

TEST(TheGuideToRecordings, ShowsWhatItsCommandsPrint) {
    const support::TemporaryFolder folder;
    support::ProcessOptions options;
    options.environment = {"PATH=" + support::builtPath("bin") + ":/usr/bin:/bin",
                           "SSO=" SSO_SOURCE_DIR};
    const auto outputOf = [&](const std::string& script) {
        const std::string whole = "cd '" + folder.path("") + "' || exit\n{ " + script + "\n} 2>&1";
        return support::runProcess({"/bin/sh", "-c", whole}, options).output;
    };
    int count = 0;
    const docs::Document guide = docs::readDocument(SSO_SOURCE_DIR "/docs/recordings.md");
    for (const docs::Block& block : guide.blocks) {
        if (block.language == "sh") {
            EXPECT_EQ(outputOf(block.text), "");
        }
        if (block.language != "console") continue;
        for (const auto& [command, printed] : docs::commandsOf(block)) {
            SCOPED_TRACE(command);
            EXPECT_EQ(outputOf(command), printed);
            ++count;
        }
    }
    EXPECT_EQ(count, 4);
}

}  // namespace
