// Each asynchronous operation of the client library: what becomes of its callback.

#include <sso_api.h>

#include <deque>
#include <string>

#include "fenced_text.h"
#include "operations.h"
#include "promise.h"

namespace suppliers {
namespace {

using std::chrono::milliseconds;

class AccountOperation : public ::testing::TestWithParam<Operation> {
  protected:
    const Operation& operation() const { return GetParam(); }
    void promised(const std::string& sentence) const {
        promise(operation().name + " (" + operation().asks + ") " + sentence);
    }
    /// Starts the operation, once.
    ///
    /// @return "" when it has
    std::string whyNotStarted() const {
        std::string reason = operation().reasonAgainst();
        if (reason.empty() && operation().start().isRefused()) {
            reason = "it does not start here: it returns -1";
        }
        return reason;
    }
};

std::vector<Operation> operationsWithText() {
    std::vector<Operation> some;
    for (const Operation& operation : operations()) {
        if (operation.givesText) {
            some.push_back(operation);
        }
    }
    return some;
}

#define START_OR_SKIP()                                                \
    if (const std::string reason = whyNotStarted(); !reason.empty()) { \
        NOT_APPLICABLE(reason);                                        \
    }

TEST_P(AccountOperation, CallsBackOnce) {
    promised("calls back exactly once: a page waits for the one answer that it becomes");
    START_OR_SKIP()
    EXPECT_TRUE(comes([] { return callbacks() > 0; })) << "seen: no callback comes";
    waitForStragglers();
    EXPECT_EQ(callbacks(), 1) << "seen: " << callbacks() << " callbacks";
}

TEST_P(AccountOperation, GivesTheUserDataBack) {
    promised("hands its callback the user data as given: there the plug-in finds its handler");
    START_OR_SKIP()
    if (!comes([] { return callbacks() > 0; })) {
        NOT_APPLICABLE("no callback comes");
    }
    EXPECT_EQ(strangeCallbacks(), 0) << "seen: user data that nobody gave";
}

TEST_P(AccountOperation, MayBeStartedBeforeItHasEnded) {
    promised(
        "may be started again before it has ended, and each start is answered or refused: the "
        "plug-in holds no request back");
    START_OR_SKIP()
    if (!comes([] { return callbacks() > 0; })) {
        NOT_APPLICABLE("no callback comes");
    }
    const int before = callbacks();
    int expected = 0;
    for (int n = 0; n < 3; ++n) {
        expected += operation().start().isRefused() ? 0 : 1;
    }
    EXPECT_TRUE(comes([&] { return callbacks() - before >= expected; }))
        << "seen: " << callbacks() - before << " callbacks for " << expected << " started";
}

TEST_P(AccountOperation, LetsTheProxyWaitForItsCallback) {
    promised(
        "is waited for by sso_give_proxy while its callback runs: the callback uses the "
        "plug-in's handler, which is gone right after");
    duringCallbacks([](const char*) { std::this_thread::sleep_for(milliseconds(300)); });
    START_OR_SKIP()
    if (!comes([] { return runningCallbacks() > 0; })) {
        NOT_APPLICABLE("no callback comes");
    }
    sso_give_proxy();
    const int running = runningCallbacks();
    EXPECT_EQ(running, 0) << "seen: its callback still runs when sso_give_proxy has returned";
    comes([] { return runningCallbacks() == 0; });
}

TEST_P(AccountOperation, CallsNobodyBackAfterTheProxy) {
    promised(
        "does not call back once sso_give_proxy has returned: the plug-in does not guard itself, "
        "and the callback would read a handler that is gone");
    START_OR_SKIP()
    // How long it takes by itself. A popup may take a person's time: it is not measured.
    const auto start = std::chrono::steady_clock::now();
    if (!operation().needsPerson && !comes([] { return callbacks() > 0; })) {
        NOT_APPLICABLE("no callback comes");
    }
    const auto duration =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
    // Long before it would call back, and when it is about to.
    for (const auto delay : {milliseconds(0), duration - milliseconds(3)}) {
        operation().start();
        std::this_thread::sleep_for(delay);
        sso_give_proxy();
        const int before = callbacks();
        waitForStragglers(duration);
        ASSERT_EQ(callbacks(), before) << "seen: a callback after sso_give_proxy";
    }
}

TEST_P(AccountOperation, MayBeStartedAfterTheProxy) {
    promised(
        "may be started again after sso_give_proxy: that ends one page, and the next one asks in "
        "the same process");
    START_OR_SKIP()
    sso_give_proxy();
    const Started& second = operation().start();
    EXPECT_FALSE(second.isRefused()) << "seen: it returns -1 after sso_give_proxy";
}

TEST_P(AccountOperation, CopiesItsTexts) {
    promised(
        "copies the texts that it is given before it returns: the plug-in frees them right after");
    if (!operation().reasonAgainst().empty()) {
        NOT_APPLICABLE(operation().reasonAgainst());
    }
    std::deque<FencedText> texts;
    std::vector<const char*> pointers;
    for (const std::string& text : operation().texts) {
        pointers.push_back(texts.emplace_back(text).get());
    }
    const Started& started = operation().start(pointers);
    for (FencedText& text : texts) {
        text.takeAway();  // who reads it now crashes
    }
    if (started.isRefused()) {
        NOT_APPLICABLE("it does not start here: it returns -1");
    }
    comes([] { return callbacks() > 0; });
    waitForStragglers();
}

class AccountTextOperation : public AccountOperation {};

TEST_P(AccountTextOperation, LeavesItsTextAloneUntilTheCallbackReturns) {
    promised(
        "leaves the text alone that its callback gets until that returns: the plug-in copies it "
        "meanwhile");
    std::atomic<int> changed{0};
    duringCallbacks([&changed](const char* text) {
        const std::string copy = text != nullptr ? text : "";
        std::this_thread::sleep_for(milliseconds(150));
        changed += text != nullptr && copy != text ? 1 : 0;
    });
    START_OR_SKIP()
    int expected = 1;
    for (int n = 0; n < 3; ++n) {
        expected += operation().start().isRefused() ? 0 : 1;
    }
    comes([&] { return callbacks() >= expected && runningCallbacks() == 0; });
    sso_give_proxy();
    comes([] { return runningCallbacks() == 0; });
    EXPECT_EQ(changed, 0) << "seen: another text at the callback's end";
}

std::string testName(const ::testing::TestParamInfo<Operation>& info) { return info.param.asks; }

INSTANTIATE_TEST_SUITE_P(, AccountOperation, ::testing::ValuesIn(operations()), testName);
INSTANTIATE_TEST_SUITE_P(, AccountTextOperation, ::testing::ValuesIn(operationsWithText()),
                         testName);

}  // namespace
}  // namespace suppliers
