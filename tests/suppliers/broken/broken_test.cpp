// That scripts/check-suppliers names what a library breaks, and nothing else.

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "temporary_folder.h"

namespace {

using ::testing::AllOf;
using ::testing::AnyOfArray;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kBuild = SUPPLIERS_BUILD;

struct Check {
    int exitCode = -1;
    std::vector<std::string> lines;

    std::vector<std::string> broken() const {
        std::vector<std::string> found;
        for (const std::string& line : lines) {
            if (line.rfind("  BROKEN  ", 0) == 0) {
                found.push_back(line.substr(10));
            }
        }
        return found;
    }
};

/// Runs scripts/check-suppliers on one library, with somebody signed in.
Check check(const std::string& library, const std::string& folder) {
    const std::string command = "SSO_ACCOUNT_FILE=" SUPPLIERS_SOURCE
                                "/account/examples/signed-in.json "
                                "HT_TRACE=/dev/null SSO_SUPPLIERS_LOG=/dev/null " SUPPLIERS_SOURCE
                                "/scripts/check-suppliers --limit 10 --programs " +
                                kBuild + "/bin --library " + library + " " + folder;
    Check check;
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> line{};
    while (std::fgets(line.data(), line.size(), pipe) != nullptr) {
        std::string text = line.data();
        text.erase(text.find_last_not_of('\n') + 1);
        check.lines.push_back(text);
    }
    const int status = pclose(pipe);
    check.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return check;
}

std::string brokenFolder(const std::string& name) { return kBuild + "/lib/broken/" + name; }

/// One broken promise, as the script tells of it.
struct Named {
    std::string sentence;  ///< what it begins with
    std::string seen;
    std::string test;
    bool always = true;  ///< or if it happens at the wrong moment
};

struct Broken {
    std::string name;
    std::string library;
    std::vector<Named> named;

    friend std::ostream& operator<<(std::ostream& out, const Broken& broken) {
        return out << broken.name;
    }
};

class ABrokenSupplier : public ::testing::TestWithParam<Broken> {};

TEST_P(ABrokenSupplier, IsNamedWithWhatItBreaks) {
    const Check checked = check(GetParam().library, brokenFolder(GetParam().name));
    std::vector<::testing::Matcher<std::string>> expected;
    for (const Named& named : GetParam().named) {
        expected.push_back(AllOf(StartsWith(named.sentence), HasSubstr("(" + named.seen),
                                 EndsWith("[" + named.test + "]")));
        if (named.always) {
            EXPECT_THAT(checked.broken(), Contains(expected.back()));
        }
    }
    EXPECT_THAT(checked.broken(), Each(AnyOfArray(expected)));
    EXPECT_EQ(checked.exitCode, 1);
}

const std::string kLog = "__dlog_print ";
const std::string kWithdraw = "vconf_ignore_key_changed ";

INSTANTIATE_TEST_SUITE_P(
    , ABrokenSupplier,
    ::testing::Values(
        Broken{
            "late_callback",
            "sso_api",
            {{"sso_request_access_token (AccessToken) does not call back once sso_give_proxy has "
              "returned",
              "a callback after sso_give_proxy",
              "AccountOperation.CallsNobodyBackAfterTheProxy/AccessToken"},
             {"sso_give_proxy waits for all callbacks that run and lets none come after",
              "callbacks after it has returned: ",
              "AccountProxy.WaitsForTheSlowCallbacksOfSeveralThreads", false}}},
        Broken{
            "proxy_does_not_wait",
            "sso_api",
            {{"sso_request_access_token (AccessToken) is waited for by sso_give_proxy",
              "its callback still runs when sso_give_proxy has returned",
              "AccountOperation.LetsTheProxyWaitForItsCallback/AccessToken"},
             {"sso_give_proxy waits for all callbacks that run and lets none come after",
              "callbacks that run when it has returned: ",
              "AccountProxy.WaitsForTheSlowCallbacksOfSeveralThreads", false},
             // If a thread takes its time to begin.
             {"sso_request_access_token (AccessToken) does not call back once sso_give_proxy has "
              "returned",
              "a callback after sso_give_proxy",
              "AccountOperation.CallsNobodyBackAfterTheProxy/AccessToken", false}}},
        Broken{"two_callbacks",
               "sso_api",
               {{"sso_request_access_token (AccessToken) calls back exactly once", "2 callbacks",
                 "AccountOperation.CallsBackOnce/AccessToken"},
                {"an operation that sso_give_proxy cuts short calls back at most once",
                 "5 operations called back more than once", "AccountProxy.CallsNobodyBackTwice"}}},
        Broken{"no_callback",
               "sso_api",
               {{"sso_request_access_token (AccessToken) calls back exactly once",
                 "no callback comes", "AccountOperation.CallsBackOnce/AccessToken"}}},
        Broken{"callback_after_refusal",
               "sso_api",
               {{"an operation whose start returned -1 never calls back", "",
                 "AccountProxy.CallsNobodyBackWhoWasRefused"}}},
        Broken{"texts_kept_by_pointer",
               "sso_api",
               {{"sso_request_access_token (AccessToken) copies the texts that it is given",
                 "crashes: signal 11", "AccountOperation.CopiesItsTexts/AccessToken"}}},
        Broken{
            "other_user_data",
            "sso_api",
            {{"sso_request_access_token (AccessToken) hands its callback the user data as given",
              "user data that nobody gave", "AccountOperation.GivesTheUserDataBack/AccessToken"}}},
        Broken{"text_freed_early",
               "sso_api",
               {{"sso_request_access_token (AccessToken) leaves the text alone",
                 "another text at the callback's end",
                 "AccountTextOperation.LeavesItsTextAloneUntilTheCallbackReturns/AccessToken"}}},
        Broken{"proxy_for_good",
               "sso_api",
               {{"sso_request_access_token (AccessToken) may be started again after sso_give_proxy",
                 "it returns -1 after sso_give_proxy",
                 "AccountOperation.MayBeStartedAfterTheProxy/AccessToken"}}},
        Broken{"garbage_on_failure",
               "sso_api",
               {{"sso_get_guid leaves null, or a text that is the caller's, when it fails",
                 "it fails and leaves 0x", "AccountText.IsNullOrTheCallersOnFailure/Guid"}}},
        Broken{"static_text",
               "sso_api",
               {{"sso_get_guid gives a text that is the caller's own", "twice the same memory",
                 "AccountText.IsTheCallersOnSuccess/Guid"},
                {"queries may be asked on many threads at once", "crashes: signal 6",
                 "AccountQueries.MayBeAskedOnManyThreadsAtOnce"}}},
        Broken{"large_record",
               "sso_api",
               {{"sso_get_login_info writes at most 1,408 bytes", "2000 bytes",
                 "AccountRecord.FitsIntoWhatThePluginReserves"}}},
        Broken{"record_without_end",
               "sso_api",
               {{"a login record has NUL-terminated texts at 0", "no end of the text at 256",
                 "AccountRecord.HasTwoTexts"}}},
        Broken{"one_request_at_a_time",
               "sso_api",
               {{"sso_request_access_token (AccessToken) may be started again before it has ended",
                 "1 callbacks for 3 started",
                 "AccountOperation.MayBeStartedBeforeItHasEnded/AccessToken"}}},
        Broken{"state_of_eight_bytes",
               "sso_api",
               {{"sso_get_login_state writes no more than one int", "an int beside it has changed",
                 "AccountStateQuery.WritesOneInt/LoginState"}}},
        Broken{"line_read_later",
               "dlog",
               {{kLog + "reads its texts to their ends", "crashes: signal 11",
                 "Log.ReadsNoFurtherThanTheText"},
                // The text may be on the stack of a thread that has ended.
                {kLog + "may be called on many threads at once", "crashes: signal 11",
                 "Log.TakesLinesOfManyThreadsAtOnce", false}}},
        Broken{"short_lines",
               "dlog",
               {{kLog + "takes texts of 8 KiB", "crashes: signal 6", "Log.TakesTextsOf8KiB"},
                {kLog + "takes texts of 1 MiB", "crashes: signal 6", "Log.TakesTextsOfAMebibyte"},
                {kLog + "reads its texts to their ends", "crashes: signal 6",
                 "Log.ReadsNoFurtherThanTheText"},
                {kLog + "may be called on many threads at once", "crashes: signal 6",
                 "Log.TakesLinesOfManyThreadsAtOnce"}}},
        Broken{"unknown_key_crashes",
               "vconf",
               {{kWithdraw + "takes a key that nobody subscribed", "crashes: signal 6",
                 "Store.TakesTheWithdrawalOfWhatNobodySubscribed"},
                {kWithdraw + "may be called so any number of times", "crashes: signal 6",
                 "Store.TakesItAnyNumberOfTimes"},
                {kWithdraw + "may be called so on many threads at once", "crashes: signal 6",
                 "Store.TakesItOnManyThreadsAtOnce"}}},
        Broken{"unknown_key_hangs",
               "vconf",
               {{kWithdraw + "takes a key that nobody subscribed", "hangs: ended after 10 s",
                 "Store.TakesTheWithdrawalOfWhatNobodySubscribed"},
                {kWithdraw + "may be called so any number of times", "hangs: ended after 10 s",
                 "Store.TakesItAnyNumberOfTimes"},
                {kWithdraw + "may be called so on many threads at once", "hangs: ended after 10 s",
                 "Store.TakesItOnManyThreadsAtOnce"}}},
        Broken{"active_when_off",
               "ht",
               {{"a scope gives an item, inactive while the cell is 0", "an active item",
                 "Tracing.GivesAnInactiveItemForACellThatIsOff"}}},
        Broken{"cell_written_later",
               "ht",
               {{"ht_register_library and ht_deregister_library take the module's cell",
                 "crashes: signal 11", "Tracing.RegistersACellAndLetsItGo"}}},
        Broken{"one_item_for_all",
               "ht",
               {{"an active item is of one thread alone", "two threads have the same item",
                 "Tracing.HasAnItemForEachThread"},
                {"scopes may be opened inside others", "one item for both scopes",
                 "Tracing.AllowsScopesInsideScopes"}}},
        Broken{"raw_type_names",
               "ht",
               {{"ht::TSDemangler::Demangle gives readable text", "\"PKc\" for \"PKc\"",
                 "Tracing.MakesTypeNamesReadable"}}}),
    [](const auto& info) { return info.param.name; });

TEST(ALibraryThatDoesNotLoad, IsToldInOneLineWhenItIsMissing) {
    const Check checked = check("dlog", brokenFolder("no_callback"));
    EXPECT_EQ(checked.exitCode, 3);
    EXPECT_THAT(checked.lines, ElementsAre("libdlog.so: missing in " + brokenFolder("no_callback") +
                                           "; the plug-in does not load without it"));
}

TEST(ALibraryThatDoesNotLoad, IsToldInOneLineWhenItIsNone) {
    const support::TemporaryFolder folder;
    folder.write("libdlog.so",
                 "a text, and longer than the header of an ELF file: "
                 "the loader says something else of a shorter one\n");
    const Check checked = check("dlog", folder.path(""));
    EXPECT_EQ(checked.exitCode, 3);
    EXPECT_THAT(checked.lines, ElementsAre("libdlog.so: does not load: " +
                                           folder.path("libdlog.so") + ": invalid ELF header"));
}

TEST(ALibraryThatDoesNotLoad, IsToldInOneLineWhenItCrashes) {
    const Check checked = check("vconf", brokenFolder("crashes_at_load"));
    EXPECT_EQ(checked.exitCode, 3);
    EXPECT_THAT(checked.lines, ElementsAre("libvconf.so: does not load: crashes: signal 6"));
}

TEST(ALibraryThatDoesNotLoad, IsToldInOneLineWhenAFunctionIsMissing) {
    const Check checked = check("vconf", brokenFolder("lacks_a_function"));
    EXPECT_EQ(checked.exitCode, 3);
    EXPECT_THAT(checked.lines,
                ElementsAre(AllOf(StartsWith("the libraries do not load together: "),
                                  EndsWith("undefined symbol: vconf_ignore_key_changed"))));
}

TEST(ALibraryWithAVersion, IsFoundBehindThePlainName) {
    const support::TemporaryFolder folder;
    std::filesystem::copy_file(brokenFolder("short_lines") + "/libdlog.so",
                               folder.path("libdlog.so.0"));
    const Check checked = check("dlog", folder.path(""));
    EXPECT_EQ(checked.exitCode, 1);
    EXPECT_EQ(checked.broken().size(), 4U);
}

}  // namespace
