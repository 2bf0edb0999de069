// The account service's program, and what it says when it cannot do its work.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "desk.h"
#include "module_path.h"

namespace {

namespace fs = std::filesystem;
using support::ProcessResult;

TEST(TheServicesProgram, TellsItsOptions) {
    Desk desk(Desk::Bus::StartedByPrograms);
    EXPECT_EQ(desk.output("ssod --help"),
              R"(The account service of the desk. The programs that need it start it.
Usage: ssod [OPTIONS]

Options:
  -h,--help                   Print this help message and exit
  --keep-bus FOLDER           Start a private bus with its socket in the folder, which ends with its users
  --idle SECONDS:INT in [0 - 86400]=30
                              End after so many seconds without a caller; 0: never
  --version                   Print the version and exit

)");
}

TEST(TheServicesProgram, KeepsStatesBelowHomeWithoutAnotherFolder) {
    Desk desk(Desk::Bus::StartedByPrograms);
    desk.output("unset XDG_DATA_HOME; HOME=$PWD ssoctl account add kim");
    EXPECT_TRUE(fs::exists(desk.folder().path("here/.local/share/sso-desk/states/default.db")));
    EXPECT_FALSE(fs::exists(desk.folder().path("data")));
}

TEST(TheServicesProgram, NeedsAPlaceForStates) {
    Desk desk(Desk::Bus::StartedByPrograms);
    for (const char* home : {"unset HOME", "HOME=", "HOME=here"}) {
        SCOPED_TRACE(home);
        const ProcessResult result = desk.bash(
            home +
            std::string("; XDG_DATA_HOME=here DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere ssod"));
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors,
                  "ssod: set HOME or XDG_DATA_HOME, so that the accounts have a place\n");
    }
}

TEST(TheServicesProgram, NeedsABus) {
    Desk desk(Desk::Bus::StartedByPrograms);
    const ProcessResult result = desk.bash("ssod");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "ssod: there is no bus; sso-browser and ssoctl start it with one\n");
}

TEST(TheServicesProgram, NamesTheBussProgramThatIsMissing) {
    Desk desk(Desk::Bus::StartedByPrograms);
    const ProcessResult result = desk.bash("PATH=/nowhere $(command -v ssoctl) account list");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "ssod: dbus-daemon cannot be started; it is in the package dbus-daemon\n"
              "ssoctl: the account service's bus could not be started\n");

    const ProcessResult doctor = desk.bash("PATH=/nowhere $(command -v ssoctl) doctor");
    EXPECT_EQ(doctor.exitCode, 1);
    EXPECT_EQ(doctor.output,
              "ok     service's program: " + support::builtPath("bin/ssod") +
                  "\nok     states: " + desk.folder().path("data/sso-desk/states") +
                  "\nwrong  bus: the account service's bus could not be started\n"
                  "       cure: install the package dbus-daemon when it is missing; let "
                  "XDG_RUNTIME_DIR be a folder of yours alone that can be written\n");
}

// The buses that the desk starts let nobody else in; this one does.
TEST(TheServicesProgram, ServesItsOwnUserAlone) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can call as another user";
    Desk desk(Desk::Bus::StartedByPrograms);
    // Its socket is in no folder: the other user may be kept out of that of the tests.
    const ProcessResult result = desk.bash(R"(
        address=unix:abstract=$PWD/bus
        echo '<busconfig><listen>'$address'</listen><auth>EXTERNAL</auth><policy context="default">
            <allow user="*"/><allow own="*"/><allow send_destination="*" eavesdrop="true"/>
            <allow receive_sender="*"/></policy></busconfig>' >bus.conf
        exec {ready}< <(exec dbus-daemon --config-file=$PWD/bus.conf --nofork --nopidfile --nosyslog \
            --print-address 2>/dev/null); bus=$!
        read -u $ready
        DBUS_SESSION_BUS_ADDRESS=$address ssod --idle 0 & service=$!
        ask() {
            "$@" dbus-send --bus=$address --print-reply=literal --dest=example.korvane.SSO1 \
                /example/korvane/SSO1/default example.korvane.SSO1.Account.GetGuid 2>&1
        }
        until ask >/dev/null; do sleep 0.02; done
        ask
        ask setpriv --reuid 65534 --regid 65534 --clear-groups
        kill $service; wait $service
        kill $bus; wait $bus
    )");
    EXPECT_EQ(result.output,
              "   int32 -2\n"  // nobody is signed in
              "   Error org.freedesktop.DBus.Error.AccessDenied: Permission denied\n");
    EXPECT_EQ(result.errors, "");
}

}  // namespace
