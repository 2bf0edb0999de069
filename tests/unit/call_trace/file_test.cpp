// HT_TRACE: the traces that processes leave, however they end.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "module_path.h"
#include "process.h"
#include "sanitizer.h"
#include "temporary_folder.h"

namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Steps = std::vector<std::string>;

std::int64_t ns(const json& microseconds) {
    return std::llround(microseconds.get<double>() * 1000);
}

/// @param environment  variables, "NAME=value".
support::ProcessOptions with(const std::vector<std::string>& environment) {
    support::ProcessOptions options;
    options.environment = environment;
    return options;
}

class ATracedProcess : public ::testing::Test {
  protected:
    support::ProcessResult run(const Steps& steps, support::ProcessOptions options = {}) {
        Steps command = {support::builtPath("bin/call-trace-probe"), "register"};
        command.insert(command.end(), steps.begin(), steps.end());
        if (options.environment.empty()) options.environment = {"HT_TRACE=" + file()};
        return support::runProcess(command, options);
    }

    /// As above, to a good end and without a word on standard error.
    std::string runWell(const Steps& steps, support::ProcessOptions options = {}) {
        const support::ProcessResult result = run(steps, std::move(options));
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors, "");
        return result.output;
    }

    std::string file(const std::string& name = "trace.json") const { return m_folder.path(name); }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path(""))) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    std::string content(const std::string& name = "trace.json") const {
        std::ifstream stream(file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Everything that is in a trace. It has to be an array and nothing else.
    json events(const std::string& name = "trace.json") const {
        const std::string all = content(name);
        json parsed = json::parse(all, nullptr, false);
        EXPECT_TRUE(parsed.is_array()) << name << " has " << all.size() << " bytes";
        return parsed.is_array() ? parsed : json::array();
    }

    /// The calls of a trace.
    json calls(const std::string& name = "trace.json") const {
        json chosen = json::array();
        for (const json& event : events(name)) {
            if (event["ph"] == "X") chosen.push_back(event);
        }
        return chosen;
    }

    /// The texts of all calls, one after the other.
    json texts(const std::string& name = "trace.json") const {
        json all = json::array();
        for (const json& call : calls(name)) {
            const json& own = call["args"]["texts"];
            all.insert(all.end(), own.begin(), own.end());
        }
        return all;
    }

    json functionNames(const Steps& signatures) {
        Steps steps;
        for (const std::string& signature : signatures) steps.push_back("signature=" + signature);
        runWell(steps);
        json names = json::array();
        for (const json& call : calls()) names.push_back(call["name"]);
        return names;
    }

    const support::TemporaryFolder m_folder;
};

TEST_F(ATracedProcess, RecordsACall) {
    const std::string output = runWell({"name=probe", "pid", "call=text"});
    const int pid = std::stoi(output.substr(4));
    json all = events();
    ASSERT_EQ(all.size(), 3U);
    json& call = all[2];
    EXPECT_TRUE(call["ts"].is_number());
    EXPECT_TRUE(call["dur"].is_number());
    call.erase("ts");
    call.erase("dur");
    const json arguments = {{"file", "library/source.cpp"},
                            {"line", 42},
                            {"signature", "static void Probe::traced(int) const"},
                            {"id", 1},
                            {"texts", {"text"}}};
    EXPECT_EQ(all, json({{{"ph", "M"},
                          {"name", "process_name"},
                          {"pid", pid},
                          {"tid", pid},
                          {"args", {{"name", "call-trace-probe"}}}},
                         {{"ph", "M"},
                          {"name", "thread_name"},
                          {"pid", pid},
                          {"tid", pid},
                          {"args", {{"name", "probe"}}}},
                         {{"ph", "X"},
                          {"name", "Probe::traced"},
                          {"cat", "call"},
                          {"pid", pid},
                          {"tid", pid},
                          {"args", arguments}}}));
}

TEST_F(ATracedProcess, RecordsOnTheSteadyClock) {
    const auto now = [] {
        return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
    };
    const std::int64_t before = now();
    runWell({"calls=1"});
    const std::int64_t after = now();
    const json all = calls();
    ASSERT_EQ(all.size(), 4U);
    for (const json& call : all) {
        EXPECT_GE(ns(call["ts"]), before);
        EXPECT_LE(ns(call["ts"]) + ns(call["dur"]), after);
    }
}

TEST_F(ATracedProcess, RecordsTimesToTheNanosecond) {
    runWell({"calls=50"});
    bool isBetweenMicroseconds = false;
    for (const json& call : calls()) {
        isBetweenMicroseconds = isBetweenMicroseconds || ns(call["ts"]) % 1000 != 0;
    }
    EXPECT_TRUE(isBetweenMicroseconds);
}

TEST_F(ATracedProcess, RecordsTheNullValue) {
    runWell({"call-null", "call=text"});
    EXPECT_EQ(texts(), json({nullptr, "text"}));
}

TEST_F(ATracedProcess, RecordsAnyBytes) {
    runWell({"call=\"quoted\"\\\n\x01", "call=\xff\xfe", "call=\xc3\xa4", "name=\xff",
             "signature=\xff"});
    EXPECT_EQ(texts(),
              json({"\"quoted\"\\\n\x01", "\xef\xbf\xbd\xef\xbf\xbd", "\xc3\xa4", "text"}));
}

TEST_F(ATracedProcess, RecordsTypesWhenAsked) {
    runWell({"call=text"}, with({"HT_TRACE=" + file(), "HT_TRACE_TYPES=1"}));
    ASSERT_EQ(calls().size(), 1U);
    EXPECT_EQ(calls()[0]["args"]["types"],
              json({{{"name", "char const*"}, {"kind", 2}, {"tag", 16383}}}));
}

TEST_F(ATracedProcess, RecordsNoTypesWhenAskedNotTo) {
    runWell({"call=text"}, with({"HT_TRACE=" + file(), "HT_TRACE_TYPES=0"}));
    ASSERT_EQ(calls().size(), 1U);
    EXPECT_FALSE(calls()[0]["args"].contains("types"));
}

TEST_F(ATracedProcess, NamesFunctionsWithTheirClass) {
    struct Row {
        const char* signature;
        const char* name;
    };
    const Row rows[] = {
        {"void CPluginSSOMessageHandler::Register()", "CPluginSSOMessageHandler::Register"},
        {"virtual void Class::function(pp::Var)", "Class::function"},
        {"virtual Class::~Class()", "Class::~Class"},
        {"Class::Class(int, const char*)", "Class::Class"},
        {"static int Class::function(void*, int, sso_popup_state_e)", "Class::function"},
        {"bool ns::Class::function(const string&) const", "ns::Class::function"},
        {"const char *Class::function()", "Class::function"},
        {"T &Class::function() [T = int]", "Class::function"},
        {"void Class::function(T) const [with T = int]", "Class::function"},
        {"std::function<void(int)> Class::function()", "Class::function"},
        {"std::map<int, std::pair<int, int> > Class<int, long>::function()",
         "Class<int, long>::function"},
        {"void Class::function(void (*)(int))", "Class::function"},
        {"void {anonymous}::Class::function()", "{anonymous}::Class::function"},
        {"void (anonymous namespace)::function(int)", "(anonymous namespace)::function"},
        {"int main()", "main"},
        // Those whose name cannot be told
        {"", ""},
        {"function", "function"},
        {"()", "()"},
        {"function(", "function("},
        {"bool Class::operator()(int) const", "bool Class::operator()(int) const"},
        {"bool Class::operator<(int)", "bool Class::operator<(int)"},
        {"Class::operator bool() const", "Class::operator bool() const"},
        {"void (* Class::function())(int)", "void (* Class::function())(int)"},
        {"Class::function()::<lambda(int)>", "Class::function()::<lambda(int)>"},
        {"decltype (x) Class::function()", "decltype (x) Class::function()"},
    };
    Steps signatures;
    json names = json::array();
    for (const Row& row : rows) {
        signatures.emplace_back(row.signature);
        names.push_back(row.name);
    }
    EXPECT_EQ(functionNames(signatures), names);
}

TEST_F(ATracedProcess, NamesAThreadAgainWhenItsNameHasChanged) {
    runWell({"name=first", "call=1", "call=2", "name=second", "call=3", "name=first", "call=4"});
    json told = json::array();
    for (const json& event : events()) {
        told.push_back(event["ph"] == "X" ? event["args"]["texts"][0] : event["args"]["name"]);
    }
    EXPECT_EQ(told, json({"call-trace-probe", "first", "1", "2", "second", "3", "first", "4"}));
}

TEST_F(ATracedProcess, RecordsEachOfManyThreads) {
    constexpr int kRounds = 500;
    runWell({"threads=" + std::to_string(kRounds)});
    std::map<int, std::vector<json>> byThread;
    std::map<int, std::string> names;
    for (const json& event : events()) {
        const int thread = event["tid"];
        if (event["ph"] == "X") {
            EXPECT_EQ(names.count(thread), 1U) << "its name comes first";
            byThread[thread].push_back(event);
        } else if (event["name"] == "thread_name") {
            EXPECT_EQ(names.count(thread), 0U) << "once";
            names[thread] = event["args"]["name"];
        }
    }
    std::set<std::string> distinct;
    for (const auto& [thread, name] : names) distinct.insert(name);
    EXPECT_THAT(distinct, ElementsAre("thread-0", "thread-1", "thread-2", "thread-3", "thread-4",
                                      "thread-5", "thread-6", "thread-7"));
    ASSERT_EQ(byThread.size(), 8U);
    for (const auto& [thread, own] : byThread) {
        ASSERT_EQ(own.size(), 4U * kRounds);
        std::int64_t former = 0;
        for (std::size_t i = 0; i < own.size(); i += 4) {
            const json* ended = &own[i];
            const auto begin = [&](int call) { return ns(ended[call]["ts"]); };
            const auto end = [&](int call) { return begin(call) + ns(ended[call]["dur"]); };
            const char* const expected[] = {"innermost", "first", "second", "outer"};
            for (int call = 0; call < 4; ++call) {
                ASSERT_EQ(ended[call]["args"]["texts"], json({expected[call]}));
                ASSERT_LE(begin(call), end(call));
            }
            ASSERT_LE(former, begin(3));
            ASSERT_LE(begin(3), begin(1));
            ASSERT_LE(begin(1), begin(0));
            ASSERT_LE(end(0), end(1));
            ASSERT_LE(end(1), begin(2));
            ASSERT_LE(end(2), end(3));
            former = end(3);
        }
    }
}

TEST_F(ATracedProcess, HasNoThreadWaitForTheWriteOfAnother) {
    EXPECT_EQ(runWell({"while-other-writes"}), "other has written 1\nheld 1\n");
    EXPECT_EQ(texts().size(), 12U);
}

TEST_F(ATracedProcess, OpensNothingBeforeItsFirstCall) {
    EXPECT_EQ(runWell({"files", "register", "cell", "files"}), "files 0\ncell 1\nfiles 0\n");
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(ATracedProcess, OpensOneFile) {
    EXPECT_EQ(runWell({"call=1", "files", "call=2", "files"}), "files 1\nfiles 1\n");
    EXPECT_THAT(files(), ElementsAre("trace.json"));
}

TEST_F(ATracedProcess, RecordsNothingWhileItIsSwitchedOff) {
    EXPECT_EQ(runWell({"call=1", "enable=0", "cell", "call=2", "enable=1", "call=3"}), "cell 0\n");
    EXPECT_EQ(texts(), json({"1", "3"}));
}

TEST_F(ATracedProcess, ReplacesWhatAFormerOneRecorded) {
    runWell({"calls=1000"});
    runWell({"call=text"});
    EXPECT_EQ(texts(), json({"text"}));
    EXPECT_THAT(files(), ElementsAre("trace.json"));
}

/// Longer than a page, and than what the file grows by.
TEST_F(ATracedProcess, RecordsLongTexts) {
    json all = json::array();
    Steps steps;
    for (const int size : {100000, 3000, 4000, 4096, 5000, 10, 70000}) {
        all.push_back(std::string(static_cast<std::size_t>(size), 'x'));
        steps.push_back("call=" + all.back().get<std::string>());
    }
    runWell(steps);
    EXPECT_EQ(texts(), all);
}

TEST_F(ATracedProcess, DoesNotMakeItsFileMuchLongerThanItsTrace) {
    runWell({"calls=5000"});
    const std::string all = content();
    EXPECT_GT(all.size(), 4'000'000U);
    EXPECT_LT(std::count(all.begin(), all.end(), ' '), 1'500'000);
}

TEST_F(ATracedProcess, WritesNoElementAcrossPages) {
    runWell({"calls=300"});
    std::ifstream stream(file());
    std::size_t position = 0;
    std::size_t elements = 0;
    for (std::string line; std::getline(stream, line); position += line.size() + 1) {
        const std::size_t start = line.find('{');
        if (start == std::string::npos) continue;
        ++elements;
        const std::size_t end = line.find_last_of('}');
        EXPECT_EQ((position + start) / 4096, (position + end) / 4096) << line;
    }
    EXPECT_EQ(elements, 1202U);
}

class AnUntracedProcess : public ATracedProcess {};

TEST_F(AnUntracedProcess, RecordsNothing) {
    unsetenv("HT_TRACE");
    for (const char* variable : {"HT_TRACE=", "HT_TRACE_TYPES=1"}) {
        SCOPED_TRACE(variable);
        EXPECT_EQ(runWell({"cell", "call=1", "files"}, with({variable})), "cell 0\nfiles 0\n");
    }
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(AnUntracedProcess, RecordsNothingWhenItIsSwitchedOn) {
    EXPECT_EQ(runWell({"enable=1", "cell", "call=1", "files"}, with({"HT_TRACE="})),
              "cell 1\nfiles 0\n");
}

/// Runs a process until it has written something, and ends it then.
class AKilledProcess : public ATracedProcess, public ::testing::WithParamInterface<int> {
  protected:
    void runAndKill(const Steps& steps) {
        support::ProcessOptions options;
        options.onOutput = [](pid_t process, const std::string&) { kill(process, GetParam()); };
        EXPECT_EQ(run(steps, options).signal, GetParam());
    }
};

TEST_P(AKilledProcess, LeavesTheCallsThatHadEnded) {
    runAndKill({"call=1", "open=never ends", "call=2", "pid", "wait"});
    EXPECT_EQ(texts(), json({"1", "2"}));
}

TEST_P(AKilledProcess, LeavesAWholeTraceWhenItIsKilledInTheMiddle) {
    for (int round = 0; round < 3; ++round) {
        runAndKill({"calls=900", "pid", "go-on"});
        // Now and then it is killed while the end moves.
        if (!json::accept(content())) std::ofstream(file(), std::ios::app) << ']';
        EXPECT_GE(calls().size(), 3600U);
    }
    EXPECT_THAT(files(), ElementsAre("trace.json"));
}

TEST_F(ATracedProcess, LeavesAnArrayThatLacksItsEndOnlyWhenItIsKilledWhileThatMoves) {
    Steps steps(20, "call=" + std::string(3000, 'x'));  // few of them fit in front of an end
    steps.insert(steps.begin(), "");
    std::vector<int> lackingEnd;
    for (int write = 2; write <= 26; ++write) {
        steps[0] = "die-before-write=" + std::to_string(write);
        EXPECT_EQ(run(steps).signal, SIGKILL);
        std::string trace = content();
        if (!json::accept(trace)) {
            lackingEnd.push_back(write);
            trace += ']';
        }
        EXPECT_TRUE(json::parse(trace, nullptr, false).is_array()) << write;
    }
    // One call fits at first, 16 later on. A growth's third write is that of the end.
    EXPECT_THAT(lackingEnd, ElementsAre(6, 25));
}

INSTANTIATE_TEST_SUITE_P(BySignal, AKilledProcess, ::testing::Values(SIGTERM, SIGKILL),
                         [](const auto& info) {
                             return info.param == SIGTERM ? "Terminated" : "Killed";
                         });

/// A trace that cannot be written costs one line, and nothing else.
class AnUnwritableTrace : public ATracedProcess {
  protected:
    void expectOneLine(const std::string& path, const std::string& reason) {
        SCOPED_TRACE(path);
        const support::ProcessResult result =
            run({"cell", "call=1", "cell", "call=2", "enable=1", "call=3", "files"},
                with({"HT_TRACE=" + path}));
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.output, "cell 1\ncell 0\nfiles 0\n");
        EXPECT_EQ(result.errors, "ht: " + path + ": " + reason + "\n");
    }
};

TEST_F(AnUnwritableTrace, IsToldOfOnce) {
    expectOneLine("/dev/full", "No space left on device");
    expectOneLine(file("missing/trace.json"), "No such file or directory");
    expectOneLine(m_folder.path(""), "Is a directory");
    const std::string pipe = file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    expectOneLine(pipe, "No such device or address");
}

TEST_F(AnUnwritableTrace, IsToldOfOnceByManyThreads) {
    const support::ProcessResult result =
        run({"threads=100", "cell"}, with({"HT_TRACE=/dev/full"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "cell 0\n");
    EXPECT_EQ(result.errors, "ht: /dev/full: No space left on device\n");
}

TEST_F(AnUnwritableTrace, KeepsLibrariesOffThatComeLater) {
    const support::ProcessResult result =
        run({"call=1", "register", "cell"}, with({"HT_TRACE=/dev/full"}));
    EXPECT_EQ(result.output, "cell 0\n");
}

TEST_F(AnUnwritableTrace, IsWholeAsFarAsItGot) {
    const support::ProcessResult result =
        run({"limit=100000", "call=before", "calls=500", "cell", "call=after"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "cell 0\n");
    EXPECT_EQ(result.errors, "ht: " + file() + ": File too large\n");
    EXPECT_EQ(std::filesystem::file_size(file()), 100000U);
    EXPECT_EQ(texts()[0], "before");
    EXPECT_GT(calls().size(), 100U);
}

TEST_F(ATracedProcess, LeavesItsStandardErrorAloneWhenThatIsClosed) {
    const support::ProcessResult result =
        support::runProcess({"/bin/sh", "-c", "exec \"$0\" register call=1 no-such-step 2>&-",
                             support::builtPath("bin/call-trace-probe")},
                            with({"HT_TRACE=" + file()}));
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(texts(), json({"1"}));
}

class TwoProcesses : public ATracedProcess {};

TEST_F(TwoProcesses, HaveAFileEach) {
    std::string second;
    support::ProcessOptions options;
    options.onOutput = [&](pid_t process, const std::string&) {
        second = runWell({"pid", "call=of the second"});
        kill(process, SIGKILL);
    };
    run({"call=of the first", "pid", "wait"}, options);
    const std::string pid = second.substr(4, second.size() - 5);
    EXPECT_THAT(files(), UnorderedElementsAre("trace.json", "trace." + pid + ".json"));
    EXPECT_EQ(texts(), json({"of the first"}));
    EXPECT_EQ(texts("trace." + pid + ".json"), json({"of the second"}));
}

TEST_F(TwoProcesses, HaveAFileEachWhateverItsName) {
    const std::pair<const char*, const char*> rows[] = {
        {"trace", "trace.PID"}, {"a.b.c", "a.b.PID.c"}, {".trace", ".trace.PID"}};
    for (const auto& [name, pattern] : rows) {
        SCOPED_TRACE(name);
        const std::vector<std::string> variables = {"HT_TRACE=" + file(name)};
        std::string second;
        support::ProcessOptions options;
        options.environment = variables;
        options.onOutput = [&](pid_t process, const std::string&) {
            second = runWell({"pid", "call=of the second"}, with(variables));
            kill(process, SIGKILL);
        };
        run({"call=of the first", "pid", "wait"}, options);
        std::string other = pattern;
        other.replace(other.find("PID"), 3, second.substr(4, second.size() - 5));
        EXPECT_EQ(texts(name), json({"of the first"}));
        EXPECT_EQ(texts(other), json({"of the second"}));
    }
}

/// "child 4711\n" -> "trace.4711.json"
std::string fileOfChild(const std::string& output) {
    const std::size_t start = output.find("child ") + 6;
    return "trace." + output.substr(start, output.find('\n', start) - start) + ".json";
}

class AFork : public ATracedProcess {};

TEST_F(AFork, HasTheFileWhenItsParentIsNotTraced) {
    runWell({"fork-and-leave", "call=1"});
    EXPECT_EQ(texts(), json({"1"}));
    EXPECT_THAT(files(), ElementsAre("trace.json"));
}

TEST_F(AFork, HasAFileOfItsOwn) {
    const std::string output = runWell({"call=1", "fork", "call=2", "files"});
    const std::string child = fileOfChild(output);
    EXPECT_THAT(files(), UnorderedElementsAre("trace.json", child));
    EXPECT_EQ(texts(), json({"1", "2"}));
    EXPECT_EQ(texts(child), json({"2"}));
    for (const json& event : events(child)) {
        EXPECT_EQ("trace." + std::to_string(event["pid"].get<int>()) + ".json", child);
        EXPECT_EQ(event["tid"], event["pid"]);
    }
    EXPECT_EQ(events(child)[0]["name"], "process_name");
    EXPECT_EQ(events(child)[1]["name"], "thread_name");
    EXPECT_THAT(output, ::testing::HasSubstr("files 1\nfiles 1\n"));
}

TEST_F(AFork, EndsTheCallsThatWereOpen) {
    const std::string output = runWell({"open=around", "call=1", "fork", "call=2"});
    EXPECT_EQ(texts(), json({"1", "2", "around"}));
    EXPECT_EQ(texts(fileOfChild(output)), json({"2", "around"}));
}

TEST_F(AFork, LeavesTheFileOfItsParentAloneWhenThatHasGone) {
    const std::string output = runWell({"call=1", "fork-and-leave", "call=2"});
    EXPECT_EQ(texts(), json({"1"}));
    EXPECT_EQ(texts(fileOfChild(output)), json({"2"}));
}

TEST_F(AFork, DoesNotKeepTheFileOfItsParentFromOthers) {
    support::ProcessOptions options;
    options.onOutput = [&](pid_t, const std::string& output) {
        runWell({"call=of another"});
        kill(std::stoi(output.substr(6)), SIGKILL);
    };
    run({"call=1", "fork-and-leave", "wait"}, options);
    EXPECT_THAT(files(), ElementsAre("trace.json"));
    EXPECT_EQ(texts(), json({"of another"}));
}

class AForkAmongThreads : public AFork {
  protected:
    void SetUp() override {
        if (SSO_SANITIZED) GTEST_SKIP() << "a sanitizer's allocation may stay locked in the child";
    }
};

TEST_F(AForkAmongThreads, WaitsForOneThatOpensTheTrace) {
    const std::string output = runWell({"fork-while-other-opens"});
    const json calls = {"innermost", "first", "second", "outer"};
    EXPECT_EQ(texts(), calls);
    EXPECT_EQ(texts(fileOfChild(output)), calls);
}

TEST_F(AForkAmongThreads, IsTracedWhateverTheyWereDoing) {
    constexpr int kForks = 25;
    runWell({"call=1", "fork-among-threads=" + std::to_string(kForks)});
    int children = 0;
    for (const std::string& name : files()) {
        if (name == "trace.json") continue;
        EXPECT_EQ(texts(name), json({"innermost", "first", "second", "outer"})) << name;
        ++children;
    }
    EXPECT_EQ(children, kForks);
    EXPECT_EQ(texts()[0], "1");
}

}  // namespace
