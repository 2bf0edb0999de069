// The log call, with all that the plug-in hands to it.

#include <dlog.h>

#include <string>

#include "at_once.h"
#include "fenced_text.h"
#include "promise.h"

namespace suppliers {
namespace {

/// What the plug-in writes: flow, detail and error lines, and the account queries' tag.
struct Kind {
    int buffer;
    int priority;
    const char* tag;
};
constexpr Kind kKinds[] = {
    {0, 5, "QPP_BASE"}, {0, 4, "QPP_BASE"}, {2, 5, "QPP_BASE"}, {0, 5, "PP_PLUGIN_SSO"}};

/// A line as the plug-in's, of each kind.
void logEverywhere(const char* text) {
    for (const Kind& kind : kKinds) {
        __dlog_print(kind.buffer, kind.priority, kind.tag, "%s: %s(%d) > \033[0;32m%s\033[0;m",
                     "PluginSSOMessageHandle", "m_CheckPrivilege", 71, text);
    }
}

TEST(Log, TakesEveryKindOfLine) {
    promise(
        "__dlog_print takes buffers 0 and 2, priorities 4 and 5 and both tags: all the plug-in's "
        "lines are of these kinds");
    logEverywhere("a line");
    logEverywhere("");
}

TEST(Log, TakesTextsOf8KiB) {
    promise(
        "__dlog_print takes texts of 8 KiB: the name of a command that is refused is logged as the "
        "page sent it");
    for (const std::size_t size : {127U, 128U, 1023U, 1024U, 4095U, 4096U, 8192U}) {
        logEverywhere(std::string(size, 'x').c_str());
    }
}

TEST(Log, TakesTextsOfAMebibyte) {
    promise(
        "__dlog_print takes texts of 1 MiB, cut as it likes: a page may send a name of any length, "
        "and must not end the browser with it");
    logEverywhere(std::string(1U << 20U, 'x').c_str());
}

TEST(Log, TakesAnyBytes) {
    promise(
        "__dlog_print takes texts with percent signs, control characters and broken UTF-8: pages "
        "write them");
    logEverywhere("%s%n%d %1000000d");
    logEverywhere("\x01\x02\n\r\t\x1b[2J\x7f");
    logEverywhere("\xff\xfe\xc3(\xf0\x9f");
}

TEST(Log, ReadsNoFurtherThanTheText) {
    promise(
        "__dlog_print reads its texts to their ends and no further, and not after it has returned: "
        "the plug-in frees them then");
    for (const std::size_t size : {0U, 1U, 1023U, 4096U, 8192U}) {
        FencedText text(std::string(size, 'x'));
        logEverywhere(text.get());
        text.takeAway();
    }
    logEverywhere("the next line");
}

TEST(Log, TakesLinesOfManyThreadsAtOnce) {
    promise(
        "__dlog_print may be called on many threads at once: pages, callbacks and the browser log "
        "at the same time");
    atOnce(8, [](int n) {
        const std::string text(static_cast<std::size_t>(n) * 1100, 'x');
        for (int line = 0; line < 50; ++line) {
            logEverywhere(text.c_str());
        }
    });
}

}  // namespace
}  // namespace suppliers
