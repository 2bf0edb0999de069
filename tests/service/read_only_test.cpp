// The account service whose folder cannot be written.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "desk.h"
#include "read_only_folder.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

TEST(AServiceWithoutARightToWrite, SaysSoToWhoeverAsksAndLosesNothing) {
    const support::TemporaryFolder folder;
    const std::string data = folder.path("data");
    fs::create_directory(data);
    ReadOnlyFolder sealed(data);  // first: the bus and the service have to see it
    if (!sealed.obstacle().empty()) {
        GTEST_SKIP() << "no file system can be mounted here: " << sealed.obstacle();
    }
    Desk desk(Desk::Bus::StartedByPrograms);
    // Each run waits for the end of the bus, and so of the service.
    const auto run = [&](const std::string& script) {
        return desk.bash("export XDG_DATA_HOME=" + data + "\n" + script);
    };
    const auto made = run("ssoctl preset use full && ssoctl state save kept && ssoctl status");
    ASSERT_EQ(made.exitCode, 0) << made.errors;
    const std::string before = run("ssoctl state save /dev/stdout").output;
    EXPECT_THAT(before, HasSubstr("robin@user.example"));

    sealed.seal();
    const auto refused = run(R"(
        for words in status sign-out "--state kept account list" "--state new account add mia"
        do ssoctl $words; echo $?
        done
        ssoctl doctor; echo $?
    )");
    EXPECT_THAT(refused.output, StartsWith("3\n3\n3\n3\nok "));
    EXPECT_THAT(refused.output, HasSubstr("cure: for a folder that cannot be written, set its "
                                          "permissions, or XDG_DATA_HOME"));
    EXPECT_THAT(refused.output, EndsWith("\n1\n"));
    EXPECT_THAT(
        refused.errorLines(),
        AllOf(SizeIs(4), Each(MatchesRegex("ssoctl: the account service does not answer: " + data +
                                           "/sso-desk/states.*: (Read-only file system|Permission "
                                           "denied); ssoctl doctor tells more"))));

    sealed.unseal();
    EXPECT_EQ(run("ssoctl state save /dev/stdout").output, before);
    const auto states = run("ssoctl state list --json");
    EXPECT_EQ(states.output,
              R"([{"name":"default","current":true},{"name":"kept","current":false}])"
              "\n");
}

}  // namespace
