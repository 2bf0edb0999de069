// Passwords, clients' secrets and tokens go where they have to, and nowhere else.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include "desk.h"
#include "process_file.h"
#include "service/bus_address.h"

namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;

/// Stands in each secret and nowhere else.
constexpr const char* kMark = "hush-hush-";

/// Looks at the command lines and the environments of all processes, again and again, while it lives.
class ProcessWatch {
  public:
    ProcessWatch() : m_thread([this] { run(); }) {}
    ~ProcessWatch() { stop(); }
    ProcessWatch(const ProcessWatch&) = delete;
    ProcessWatch& operator=(const ProcessWatch&) = delete;

    /// @return what told something; call it once.
    std::set<std::string> stop() {
        m_isOver = true;
        if (m_thread.joinable()) m_thread.join();
        return m_told;
    }
    /// The programs of the build that were seen.
    const std::set<std::string>& programs() const { return m_programs; }

  private:
    void run() {
        while (!m_isOver) {
            std::error_code error;
            for (const auto& entry : fs::directory_iterator("/proc", error)) {
                if (entry.path().filename().string().find_first_not_of("0123456789") ==
                    std::string::npos) {
                    look(entry.path());
                }
            }
        }
    }

    void look(const fs::path& process) {
        std::error_code error;
        const fs::path program = fs::read_symlink(process / "exe", error);
        if (error) return;
        m_programs.insert(program.filename());
        for (const char* what : {"cmdline", "environ"}) {
            const std::string text = support::processFile(process / what);
            if (text.find(kMark) != std::string::npos) {
                m_told.insert(program.filename().string() + " " + what + " " + text);
            }
        }
    }

    std::atomic<bool> m_isOver{false};
    std::set<std::string> m_told;
    std::set<std::string> m_programs;
    std::thread m_thread;
};

/// What the state begins with.
constexpr const char* kState = R"json({
    "account": { "loginId": "mia", "uid": "uid-1", "guid": "guid-1", "authToken": "hush-hush-auth",
                 "password": "hush-hush-password" },
    "clients": [{ "id": "shop", "secret": "hush-hush-secret", "token": "hush-hush-token", "lifetimeSeconds": 60 }]
})json";

/// All that a page can ask, rightly and wrongly.
constexpr const char* kRequests = R"json(
{"post": {"command": "sso_plugin_getZEVAccessToken", "id": "shop", "secret": "hush-hush-secret"}}
{"post": {"command": "sso_plugin_getZEVAccessToken", "id": "shop", "secret": "hush-hush-wrong-secret"}}
{"post": {"command": "sso_plugin_getZEVAccessToken", "id": "hush-hush-unknown-id", "secret": "hush-hush-secret"}}
{"post": {"command": "sso_plugin_getZEVAccessToken", "id": "shop"}}
{"post": {"command": "sso_plugin_show_login_page", "data": "login"}}
{"call": {"command": "sso_plugin_getSSOState"}}
{"wait": 4}
)json";

TEST(Secrets, AreInNoErrorNoSignalNoLogNoProcessListAndNoEnvironment) {
    Desk desk;
    const auto write = [&](const std::string& name, const std::string& text) {
        desk.folder().write("here/" + name, text);
    };
    const auto read = [&](const std::string& name) { return desk.folder().read("here/" + name); };
    write("state.json", kState);
    write("requests", kRequests);
    // Mistakes beside a secret, in a secret, and an end in the middle.
    write("beside.json", std::string(kState).insert(1, R"("unknown": 1,)"));
    write("inside.json", R"({"clients": [{"id": "shop", "secret": ["hush-hush-listed"]}]})");
    write("cut.json", std::string(kState).substr(0, 170));
    write("password", "hush-hush-password-of-kim\n");
    write("secret", "hush-hush-secret-of-club\n");
    write("no-room.py",
          "import sqlite3, sys\n"
          "sqlite3.connect(sys.argv[1]).executescript(\"CREATE TRIGGER full BEFORE INSERT ON token "
          "\"\n"
          "    \"BEGIN SELECT RAISE(ABORT, 'no room'); END\")\n");
    ProcessWatch processes;
    desk.output("address='" + service::privateBusAddress(desk.folder().path("run/sso-desk-bus")) +
                "'" + R"(
        exec 2>errors
        # Before somebody else starts it: what it says on standard error is to be seen.
        DBUS_SESSION_BUS_ADDRESS=$address ssod --idle 0 >said 2>&1 & service=$!
        until dbus-send --bus="$address" --print-reply --dest=org.freedesktop.DBus / \
            org.freedesktop.DBus.NameHasOwner string:example.korvane.SSO1 | grep -q "boolean true"
        do sleep 0.02; done
        dbus-monitor --address "$address" type=signal type=error >told 2>&1 & monitors=$!
        dbus-monitor --address "$address" >all 2>&1 & monitors="$monitors $!"
        until grep -q NameAcquired told && grep -q NameAcquired all; do sleep 0.02; done
        ssoctl state load ./state.json
        ssoctl watch >watched & monitors="$monitors $!"
        for file in beside inside cut; do ssoctl state load ./$file.json; done
        page() {
            DLOG_LEVEL=detail DLOG_FILE=$PWD/log HT_TRACE=$PWD/trace \
                sso-host --state default --grant partner,platform,public <requests
        }
        page >answers
        ssoctl fail getAccessToken --times 3
        page >>answers
        for time in 1 2; do
            ssoctl account add kim --password-stdin <password >>shown
            ssoctl client add club --secret-stdin <secret >>clients
        done
        ssoctl clock advance 1h
        python3 no-room.py "$XDG_DATA_HOME/sso-desk/states/default.db"
        page >>answers
        for words in status "--json status" "account list" doctor; do
            ssoctl $words >>shown
        done
        # Arguments of another shape, and of a popup that is not there.
        send() {
            dbus-send --bus="$address" --print-reply --dest=example.korvane.SSO1 \
                /example/korvane/SSO1/default "example.korvane.SSO1.$@" >>shown
        }
        send Account.RequestAccessToken string:shop uint32:7
        # The last message, and those before it, have reached whoever listens.
        until grep -q "error time=" told && grep -q "error time=" all; do sleep 0.02; done
        kill $monitors; wait $monitors
        kill $service; wait $service
    )");

    // They are seen where they have to be, so this test would see them elsewhere.
    EXPECT_THAT(read("answers"), AllOf(HasSubstr("hush-hush-token"), HasSubstr("hush-hush-auth")));
    EXPECT_THAT(read("all"), AllOf(HasSubstr("hush-hush-token"), HasSubstr("hush-hush-secret"),
                                   HasSubstr("hush-hush-password"), HasSubstr("hush-hush-auth")));
    EXPECT_THAT(read("clients"),
                HasSubstr("secret: hush-hush-secret-of-club"));  // told to who made it
    const struct {
        const char* file;
        const char* holds;
    } others[] = {
        {"said", "ssod: no room"},
        {"told", R"("operation":"sso_request_access_token")"},
        {"told", "error time="},
        {"watched", "sso_request_access_token"},
        {"log", "sso_plugin_getZEVAccessToken"},
        {"trace", "m_RequestAccessTokenCallBack"},
        {"errors", "clients[0].secret"},
        {"errors", "kim"},
        {"shown", "loginId: kim"},
    };
    for (const auto& [file, holds] : others) {
        EXPECT_THAT(read(file), AllOf(HasSubstr(holds), Not(HasSubstr(kMark)))) << file;
    }
    EXPECT_THAT(processes.stop(), IsEmpty());
    EXPECT_THAT(processes.programs(), IsSupersetOf({"ssod", "ssoctl", "sso-host", "dbus-daemon"}));
}

}  // namespace
