// The account service's windows in the real browser, with keys and clicks of a person.

#include <signal.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "account/account_file.h"
#include "browser_test.h"
#include "database.h"
#include "display.h"
#include "module_path.h"
#include "operations_under_way.h"
#include "password.h"
#include "process_figures.h"
#include "process_file.h"
#include "rounds.h"
#include "service/bus_address.h"
#include "service/bus_client.h"
#include "store.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kLogin = "Sign in";
constexpr const char* kCreateAccount = "Create an account";
constexpr const char* kTerms = "Terms of use";
constexpr const char* kAskLogin =
    "const plugin = new Embedding();"
    "return await plugin.ask({ command: 'sso_plugin_show_login_page', data: 'login' });";
constexpr const char* kAskCreate =
    "const plugin = new Embedding();"
    "return await plugin.ask({ command: 'sso_plugin_show_login_page', data: '' });";

/// What a page is told when its popup has ended so.
nlohmann::json ended(int state) {
    return {{"command", "sso_plugin_show_login_page"}, {"status", 0}, {"state", state}};
}

std::string readAll(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What the account service tells of its state "default", from the construction on.
class EventWatch {
  public:
    explicit EventWatch(const std::string& address)
        : m_client(address, [this](sd_bus* bus) {
              return sd_bus_match_signal(bus, nullptr, service::kBusName,
                                         service::pathOf("default").c_str(), bus::control::kName,
                                         bus::control::kEvent, &EventWatch::onEvent, this);
          }) {
        m_client.callAndWait(bus::account::kGetLoginState, service::pathOf("default"), {},
                             std::chrono::seconds(5), [](sd_bus_message*) {});
    }
    bool saw(const std::string& part) const {
        const std::lock_guard lock(m_mutex);
        return m_events.find(part) != std::string::npos;
    }

  private:
    static int onEvent(sd_bus_message* signal, void* user, sd_bus_error* /*error*/) {
        auto& watch = *static_cast<EventWatch*>(user);
        const char* json = nullptr;
        if (sd_bus_message_read(signal, "s", &json) < 0) return 0;
        const std::lock_guard lock(watch.m_mutex);
        watch.m_events += json;
        return 0;
    }

    mutable std::mutex m_mutex;
    std::string m_events;
    service::BusClient m_client;
};

/// When a process began, in ticks of the system; 0 for none. The greatest number of a process is not always the
/// youngest's: they begin anew.
std::uint64_t beginOf(pid_t process) {
    const std::string stat =
        support::processFile(fs::path("/proc") / std::to_string(process) / "stat");
    const std::size_t name = stat.rfind(')');  // it may have blanks
    if (name == std::string::npos) return 0;
    std::istringstream fields(stat.substr(name + 1));
    std::string field;
    for (int i = 0; i < 20; ++i) fields >> field;
    return std::stoull(field);
}

class TheAccountsWindows : public browser::BrowserTest {
  protected:
    ~TheAccountsWindows() override {
        if (m_run.valid()) m_last = m_run.get();
        if (HasFailure()) ADD_FAILURE() << "the browser wrote:\n" << m_last.output << m_last.errors;
    }

    /// Makes the state as a JSON text says.
    void makeState(const std::string& json) {
        const fs::path folder = fs::path(m_desk.path("XDG_DATA_HOME")) / "sso-desk/states";
        fs::create_directories(folder);
        service::Store store(folder / "default.db");
        account::Description description = account::parseAccountFile(json, "state");
        for (account::Profile& profile : description.profiles) {
            profile.password = service::hashPassword(profile.password);
        }
        store.replace(description, {{"made", "1"}});
    }

    /// Starts the browser with a script in its page.
    void start(const std::string& script, Arguments more = {}) {
        Arguments arguments = {SSO_TEST_PAGE,
                               "--state",
                               "default",
                               "--grant",
                               "partner",
                               "--grant",
                               "platform",
                               "--grant",
                               "public",
                               "--run-script",
                               m_folder.write("script.js", script),
                               "--quit-after",
                               "0"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        support::ProcessOptions options;
        options.environment = {m_display.variable()};
        options.onOutput = [this](pid_t browser, const std::string&) { m_browser = browser; };
        m_run = std::async(std::launch::async, [=] { return runBrowser(arguments, options); });
    }

    void ssoctl(std::vector<std::string> words, const std::string& input = "") {
        support::ProcessOptions options;
        options.environment = desk();
        options.input = input;
        words.insert(words.begin(), support::builtPath("bin/ssoctl"));
        const auto done = support::runProcess(words, options);
        EXPECT_EQ(done.exitCode, 0) << done.errors;
    }

    /// Fills in the window that is open, with `ssoctl popup fill` and these words.
    void fill(const std::string& password, std::vector<std::string> words) {
        words.insert(words.begin(), {"popup", "fill"});
        ssoctl(std::move(words), password);
    }

    /// Lets a script go on that waits for the sign-in of kSignedOut; see kAwaitSignIn.
    void signIn() { ssoctl({"sign-in"}); }

    /// What the script returned.
    Json result() {
        m_last = m_run.get();
        const std::string start = "result: ";
        for (const std::string& line : m_last.outputLines()) {
            if (line.rfind(start, 0) == 0) return Json::parse(line.substr(start.size()));
        }
        ADD_FAILURE() << "no result";
        return {};
    }

    /// The account service of this test.
    pid_t service() const { return processOf("ssod"); }
    pid_t bus() const { return processOf("dbus-daemon"); }

    /// The first of this test's processes that run a program; not the bus's keeper.
    pid_t processOf(const char* program) const {
        for (const fs::directory_entry& process : fs::directory_iterator("/proc")) {
            std::error_code error;
            const bool isIt =
                fs::read_symlink(process.path() / "exe", error).filename() == program &&
                support::processFile(process.path() / "cmdline").find("--keep-bus") ==
                    std::string::npos &&
                support::processFile(process.path() / "environ")
                        .find(m_desk.path("XDG_RUNTIME_DIR")) != std::string::npos;
            if (isIt) return std::stoi(process.path().filename());
        }
        return -1;
    }

    browser::Display m_display;
    std::future<support::ProcessResult> m_run;
    support::ProcessResult m_last;     ///< of the browser that has ended
    std::atomic<pid_t> m_browser{-1};  ///< once it has written something
};

/// An account, signed out, and a terms document.
constexpr const char* kSignedOut = R"json({
    "account": { "loginId": "mia", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1",
                 "displayName": "Mia", "password": "correct horse" },
    "signedIn": false,
    "terms": { "terms-1": { "version": "3", "title": "Terms of use", "text": "Be kind." } }
})json";

/// A part of a script with a `plugin`.
const std::string kAwaitSignIn = R"js(
        while (plugin.call({ command: "sso_plugin_getLoginStatus" }).value !== 1) {
            await new Promise(done => setTimeout(done, 50));
        })js";

TEST_F(TheAccountsWindows, MakeAnAccountAndSignIn) {
    start(R"js(
        const plugin = new Embedding();
        const answer = await plugin.ask({ command: "sso_plugin_show_login_page", data: "login" });
        const state = plugin.call({ command: "sso_plugin_getSSOState" }).value.split("?");
        return [answer, plugin.call({ command: "sso_plugin_getLoginStatus" }).value, state[0], state.length];
    )js");
    ASSERT_TRUE(m_display.waitFor(kLogin));
    m_display.press({"Tab", "Tab", "Tab", "Tab", "Return"});  // the link below the buttons
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    EXPECT_FALSE(m_display.shows(kLogin));
    m_display.type("Mia & <b>Co");
    m_display.press({"Down"});
    m_display.type("mia");
    m_display.press({"Tab"});
    m_display.type("correct horse");
    m_display.press({"Down"});
    m_display.type("correct horse");
    m_display.press({"Return"});
    EXPECT_TRUE(m_display.waitForEnd(kCreateAccount));
    EXPECT_EQ(result(), Json::array({ended(0), 1, "mia", 4}));
}

TEST_F(TheAccountsWindows, StayUntilThePasswordIsRight) {
    makeState(kSignedOut);
    start(kAskLogin);
    ASSERT_TRUE(m_display.waitFor(kLogin));
    m_display.type("mia");
    m_display.press({"Down"});
    m_display.type("wrong");
    m_display.press({"Return"});
    // What is wrong is selected: what is typed then replaces it. A password takes its time to be refused, the more
    // so beside other tests, and nothing says it to the display.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    ASSERT_TRUE(m_display.shows(kLogin));
    m_display.type("correct horse");
    m_display.press({"Down", "Return"});
    EXPECT_TRUE(m_display.waitForEnd(kLogin));
    EXPECT_EQ(result(), ended(0));
}

/// The OK of a remote control is no Enter for the system.
TEST_F(TheAccountsWindows, AreUsedByTheSelectKeyOfARemoteControl) {
    makeState(kSignedOut);
    start(kAskLogin);
    ASSERT_TRUE(m_display.waitFor(kLogin));
    m_display.press(
        {"Down", "Down", "Right", "Right", "XF86Select"});  // the link below the buttons
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    for (const char* text : {"Zoe", "zoe", "12345678", "12345678"}) {
        m_display.type(text);
        m_display.press({"Down"});
    }
    m_display.press({"Up", "XF86Select"});  // in a field it is the form's button
    EXPECT_TRUE(m_display.waitForEnd(kCreateAccount));
    EXPECT_EQ(result(), ended(0));
}

TEST_F(TheAccountsWindows, AreFilledInByTheRemoteControl) {
    makeState(kSignedOut);
    start(kAskLogin);
    ASSERT_TRUE(m_display.waitFor(kLogin));
    fill("", {"loginId=mia"});
    fill("correct horse", {"--password-stdin", "--submit"});
    EXPECT_TRUE(m_display.waitForEnd(kLogin));
    EXPECT_EQ(result(), ended(0));
}

TEST_F(TheAccountsWindows, AreFilledInWhileTheyAreMinimized) {
    makeState(kSignedOut);
    start(kAskLogin);
    ASSERT_TRUE(m_display.waitFor(kLogin));
    m_display.minimize(kLogin);
    EXPECT_FALSE(m_display.shows(kLogin));
    fill("correct horse", {"loginId=mia", "--password-stdin", "--submit"});
    EXPECT_EQ(result(), ended(0));
}

/// As a person does who sees what there is before pressing: the picture, made then, has it.
TEST_F(TheAccountsWindows, ShowWhatIsFilledInBeforeItIsPressed) {
    const auto pictureOf = [this](const std::string& name) {
        const std::string pictures = m_folder.path(name);
        fs::create_directory(pictures);
        start(kAskCreate, {"--window-pictures", pictures});
        EXPECT_TRUE(m_display.waitFor(kCreateAccount));
        fill("12345678",
             {"displayName=" + name, "loginId=" + name, "--password-stdin", "--submit"});
        EXPECT_EQ(result(), ended(0));
        return readAll(fs::path(pictures) / "1-create-an-account.png");
    };
    makeState(kSignedOut);
    const std::string one = pictureOf("zoe");
    const std::string other = pictureOf("maximilian");
    EXPECT_EQ(one.substr(0, 4), "\x89PNG");
    EXPECT_EQ(other.substr(0, 4), "\x89PNG");
    EXPECT_TRUE(one != other) << "an empty form is always the same";
}

TEST_F(TheAccountsWindows, AreUsedByAMouse) {
    makeState(kSignedOut);
    start(kAskLogin);
    ASSERT_TRUE(m_display.waitFor(kLogin));
    m_display.click(kLogin, 525, 370);  // Cancel
    EXPECT_TRUE(m_display.waitForEnd(kLogin));
    EXPECT_EQ(result(), ended(1));
}

TEST_F(TheAccountsWindows, AreClosedByTheTitleBarAndByKeys) {
    start(R"js(
        const plugin = new Embedding();
        const answers = [];
        for (let i = 0; i < 3; ++i) {
            answers.push((await plugin.ask({ command: "sso_plugin_createAccount" })).state);
        }
        return [answers, plugin.received];
    )js");
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    m_display.close(kCreateAccount);
    ASSERT_TRUE(m_display.waitForEnd(kCreateAccount));
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    m_display.press({"Escape"});
    ASSERT_TRUE(m_display.waitForEnd(kCreateAccount));
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    m_display.press({"XF86Back"});
    EXPECT_EQ(result(), Json::array({{1, 1, 1}, 3}));
}

TEST_F(TheAccountsWindows, ShowTermsThatAreAgreedTo) {
    makeState(R"json({
        "account": { "loginId": "mia", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1" },
        "terms": { "terms-1": { "version": "3", "title": "Terms of use", "text": "Be kind." } }
    })json");
    start(R"js(
        const plugin = new Embedding();
        const state = () => plugin.call({ command: "sso_plugin_getTermsAgreementState", termsId: "terms-1" }).value;
        const show = () => plugin.ask({ command: "sso_plugin_showTermsPage", termsId: "terms-1", callerId: "demo" });
        return [state(), (await show()).state, state(), (await show()).state, state()];
    )js");
    ASSERT_TRUE(m_display.waitFor(kTerms));
    m_display.press({"Right", "Return"});  // Not now
    ASSERT_TRUE(m_display.waitForEnd(kTerms));
    ASSERT_TRUE(m_display.waitFor(kTerms));
    m_display.press({"Return"});
    EXPECT_EQ(result(), Json::array({0, 1, 0, 0, 1}));
}

TEST_F(TheAccountsWindows, EndWithTheService) {
    start(R"js(
        const plugin = new Embedding();
        const ask = () => plugin.ask({ command: "sso_plugin_createAccount" });
        const first = await ask();
        const told = Date.now();
        await new Promise(done => setTimeout(done, 3000));
        const second = await ask();
        return [first.state, second.state, plugin.received, told];
    )js");
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    const pid_t before = service();
    ASSERT_GT(before, 0);
    const auto killed = std::chrono::system_clock::now();
    ASSERT_EQ(kill(before, SIGKILL), 0);
    EXPECT_TRUE(m_display.waitForEnd(kCreateAccount, 2));
    // The next window is that of the next service.
    EXPECT_TRUE(browser::eventually(10, [&] {
        const pid_t now = service();
        return now > 0 && now != before;
    }));
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    m_display.press({"Escape"});
    const Json answers = result();
    EXPECT_EQ(answers[0], 2);
    EXPECT_EQ(answers[1], 1);
    EXPECT_EQ(answers[2], 2);
    const std::chrono::system_clock::time_point told(
        std::chrono::milliseconds(answers[3].get<std::int64_t>()));
    EXPECT_LT(told - killed, std::chrono::seconds(2));
}

TEST_F(TheAccountsWindows, AreThereAgainAfterTheEndOfTheBus) {
    start(R"js(
        const plugin = new Embedding();
        const ask = async () => (await plugin.ask({ command: "sso_plugin_createAccount" })).state;
        const ended = await ask();
        let closed = 2;
        while (closed === 2) {  // until there is a bus again, with somebody who shows windows
            await new Promise(done => setTimeout(done, 2500));
            closed = await ask();
        }
        return [ended, closed];
    )js");
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    const pid_t killed = bus();
    ASSERT_GT(killed, 0);
    ASSERT_EQ(kill(killed, SIGKILL), 0);
    EXPECT_TRUE(m_display.waitForEnd(kCreateAccount, 2));
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    m_display.press({"Escape"});
    EXPECT_EQ(result(), Json::parse("[2, 1]"));
}

TEST_F(TheAccountsWindows, EndForTheServiceWhenTheBrowserIsKilled) {
    start("console.log('begins');" + std::string(kAskCreate));
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    auto watch = std::make_unique<EventWatch>(
        service::privateBusAddress(fs::path(m_desk.path("XDG_RUNTIME_DIR")) / "sso-desk-bus"));
    ASSERT_GT(m_browser, 0);
    ASSERT_EQ(kill(m_browser, SIGKILL), 0);
    EXPECT_TRUE(
        browser::eventually(2, [&] { return watch->saw(R"("is":"ended","state":"cancelled")"); }));
    watch.reset();  // the bus, which has the browser's output, ends with its last user
    EXPECT_EQ(m_run.get().signal, SIGKILL);
}

/// Its plug-in goes with it; what others have under way on the same state is none of that.
TEST_F(TheAccountsWindows, TakeNothingOfOthersAlongWhenTheBrowserIsKilled) {
    makeState(R"json({
        "account": { "loginId": "mia", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1" }
    })json");
    for (const std::string& variable : desk()) {
        const std::size_t equals = variable.find('=');
        setenv(variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str(), 1);
    }
    const auto bus = service::BusHold::get(support::builtPath("bin/ssod"));
    setenv("SSO_BUS_ADDRESS", bus.address().c_str(), 1);
    setenv("SSO_STATE", "default", 1);
    const std::string database = m_desk.path("XDG_DATA_HOME") + "/sso-desk/states/default.db";
    std::mt19937 random{20261122};
    std::uniform_int_distribution<int> moment(0, 100);
    for (int round = 0; round < support::rounds(2); ++round) {
        SCOPED_TRACE(round);
        start(R"js(
            console.log("begins");
            const plugin = new Embedding();
            plugin.post({ command: "sso_plugin_createAccount" });
            for (let i = 0;; ++i) {
                await plugin.ask({ command: "sso_plugin_addPartnerAccountMappingInfo", appID: "its",
                                   cpName: "own", cpUID: `${Date.now()}-${i}` });
            }
        )js");
        ASSERT_TRUE(m_display.waitFor(kCreateAccount));
        const EventWatch watch(bus.address());
        OperationsUnderWay operations;
        std::thread killer([&, after = std::chrono::milliseconds(moment(random))] {
            std::this_thread::sleep_for(after);
            kill(m_browser, SIGKILL);
        });
        for (int i = 0; i < 200; ++i) {
            operations.addMapping(std::to_string(round) + "-" + std::to_string(i));
        }
        killer.join();
        EXPECT_EQ(m_run.get().signal, SIGKILL);
        m_browser = -1;
        EXPECT_TRUE(operations.wait(std::chrono::seconds(20)));
        operations.expectOneCallbackEach();
        const std::set<std::string> done = operations.done();
        EXPECT_EQ(done.size(), 200U);
        const std::set<std::string> kept = mappedUsers(database);
        EXPECT_TRUE(std::includes(kept.begin(), kept.end(), done.begin(), done.end()));
        EXPECT_EQ(integrity(database), "ok");
        EXPECT_TRUE(browser::eventually(
            2, [&] { return watch.saw(R"("is":"ended","state":"cancelled")"); }));
        EXPECT_TRUE(m_display.waitForEnd(kCreateAccount));
    }
}

TEST_F(TheAccountsWindows, FailWhenTheirProcessIsKilled) {
    start("console.log('begins');" + std::string(kAskCreate));
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    ASSERT_GT(m_browser, 0);
    pid_t youngest = -1;
    for (const pid_t process : browser::descendantsOf(m_browser)) {
        const std::string command =
            support::processFile(fs::path("/proc") / std::to_string(process) / "cmdline");
        if (command.find("--type=renderer") != std::string::npos &&
            beginOf(process) >= beginOf(youngest)) {
            youngest = process;
        }
    }
    ASSERT_EQ(kill(youngest, SIGKILL), 0);
    EXPECT_TRUE(m_display.waitForEnd(kCreateAccount, 2));
    EXPECT_EQ(result(), ended(2));
    EXPECT_THAT(
        m_last.errorLines(),
        ::testing::ElementsAre("sso-browser: a window of the account service failed: its page's "
                               "process ended with 9"));
}

TEST_F(TheAccountsWindows, AreOutOfReachOfAnApplicationsPage) {
    makeState(kSignedOut);
    start(R"js(
        const plugin = new Embedding();
        const ending = plugin.ask({ command: "sso_plugin_createAccount" });)js" +
          kAwaitSignIn + R"js(
        const tries = [typeof submit, typeof qt];
        tries.push(await fetch("sso-window:page-1").then(() => "fetched", () => "refused"));
        const frame = document.createElement("iframe");
        frame.src = "sso-window:page-1";
        const loaded = new Promise(done => { frame.onload = done; setTimeout(done, 1000); });
        document.body.append(frame);
        await loaded;
        let inside = "hidden";
        try { inside = frame.contentDocument ? frame.contentDocument.body.textContent : "hidden"; } catch {}
        tries.push(inside, document.hasFocus());
        console.log("tried");
        return [tries, (await ending).state];
    )js");
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    signIn();
    while (m_browser < 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(m_display.shows(kCreateAccount));
    m_display.press({"Escape"});
    EXPECT_EQ(result(), Json::array({{"undefined", "undefined", "refused", "", false}, 1}));
}

TEST_F(TheAccountsWindows, HaveAPanelBesideThePageWhoseSwitchesActAtOnce) {
    makeState(R"json({
        "account": { "loginId": "mia", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1" }
    })json");
    start(R"js(
        const plugin = new Embedding();
        const isSignedIn = () => plugin.call({ command: "sso_plugin_getLoginStatus" }).value;
        const before = isSignedIn();
        document.title = "Signed in";
        while (isSignedIn() === 1) await new Promise(done => setTimeout(done, 50));
        return [before, isSignedIn(), plugin.call({ command: "sso_plugin_getLoginUid" }).value];
    )js",
          {"--panel"});
    ASSERT_TRUE(m_display.waitFor("Signed in"));
    m_display.focus("Signed in");
    m_display.press({"F9", "alt+s"});  // hidden: nothing happens
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    ASSERT_TRUE(m_display.shows("Signed in"));
    EXPECT_NE(m_run.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    m_display.press({"F9"});
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    m_display.press({"alt+s"});
    EXPECT_EQ(result(), Json::array({1, 0, ""}));
}

TEST_F(TheAccountsWindows, AreGoneThroughByTheDemosVisitor) {
    const std::string pictures = m_folder.path("pictures");
    support::ProcessOptions options;
    options.environment = {"DISPLAY=", "WAYLAND_DISPLAY="};
    options.timeout = std::chrono::seconds(110);
    const auto result = support::runProcess(
        {SSO_SOURCE_DIR "/scripts/demo-unseen", support::builtPath("bin"), pictures}, options);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    for (
        const char* line :
        {R"("command": "sso_plugin_createAccount", "state": 0)",
         R"("command": "sso_plugin_show_login_page", "state": 0)",
         R"("command": "sso_plugin_showTermsPage", "state": 0)",
         R"("token": "access-token-of-demo-client" })",
         R"([{\"appID\":\"demo-app\",\"cpName\":\"demo-partner\",\"cpUID\":\"robin@partner.example\"}])",
         R"("token": "access-token-of-demo-client-2" })"}) {
        EXPECT_THAT(result.output, ::testing::HasSubstr(line));
    }
    for (const char* name :
         {"1-create-an-account", "2-sign-in", "3-terms-of-use", "first-day", "next-day"}) {
        const std::string png = readAll(fs::path(pictures) / (std::string(name) + ".png"));
        EXPECT_EQ(png.substr(0, 4), "\x89PNG") << name;
        EXPECT_GT(png.size(), 15000U) << name << ": an empty window is far smaller";
    }
}

TEST_F(TheAccountsWindows, AreTakenAwayWhenTheirCallerGoes) {
    makeState(kSignedOut);
    start(R"js(
        const plugin = new Embedding();
        plugin.post({ command: "sso_plugin_createAccount" });)js" +
          kAwaitSignIn + R"js(
        plugin.remove();
        await new Promise(done => setTimeout(done, 2500));
        return plugin.received;
    )js");
    ASSERT_TRUE(m_display.waitFor(kCreateAccount));
    signIn();
    EXPECT_TRUE(m_display.waitForEnd(kCreateAccount, 4));
    EXPECT_EQ(result(), 0);
}

}  // namespace
