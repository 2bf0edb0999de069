// The contract, in the real browser.

#include <memory>
#include <string>

#include "browser_test.h"
#include "contract_suite.h"
#include "module_path.h"

namespace contract {
namespace {

using nlohmann::json;

/// Sends each request of `rows`, which are [path, request], and returns the answers in order. An
/// asynchronous one is awaited before the next, so that answers cannot be mixed up; one without an
/// answer is the last.
constexpr char kSendRows[] = R"js(
    const plugin = new Embedding();
    const none = Symbol();
    const answers = [];
    for (const [path, request] of rows) {
        const late = new Promise(resolve => setTimeout(resolve, 30000, none));
        const answer = path === "async" ? await Promise.race([plugin.ask(request), late])
                                        : plugin.call(request);
        if (answer === none) break;
        answers.push(answer);
    }
    return { answers, left: plugin.messages };
)js";

class BrowserPage : public Page, browser::BrowserTest {
  public:
    enum class Account { OfAFile, OfTheService };

    BrowserPage(const Setting& setting, Account account) {
        for (const std::string& privilege : setting.privileges) {
            m_arguments.insert(m_arguments.end(), {"--grant", privilege});
        }
        if (account == Account::OfTheService) {
            // As a file has it: popups end by themselves, so that nobody is waited for.
            loadState(setting.account.empty()
                          ? m_folder.write(
                                "nobody.json",
                                R"({"popups": {"login": {}, "createAccount": {}, "terms": {}}})")
                          : setting.account);
        } else if (!setting.account.empty()) {
            m_arguments.insert(m_arguments.end(), {"--account", setting.account});
        }
    }

    Received send(const std::vector<Row>& rows) override {
        std::string script = "const rows = [\n";
        for (const Row& row : rows) {
            const std::string request =
                row.javaScript.empty() ? row.request.dump() : row.javaScript;
            script += "[\"" + std::string(nameOf(row.path)) + "\", " + request + "],\n";
        }
        const json result = runScript(script + "];\n" + kSendRows, m_arguments);
        if (!result.is_object()) return {};  // it has failed and said why
        return {result["answers"], result["left"]};
    }

  private:
    void TestBody() override {}

    /// The same JSON, in a state of the account service.
    void loadState(const std::string& file) {
        support::ProcessOptions options;
        options.environment = desk();
        const auto loaded = support::runProcess(
            {support::builtPath("bin/ssoctl"), "--state", "contract", "state", "load", file},
            options);
        EXPECT_EQ(loaded.exitCode, 0) << loaded.errors;
        m_arguments.insert(m_arguments.end(), {"--state", "contract"});
    }

    Arguments m_arguments;
};

std::unique_ptr<Page> openWithFile(const Setting& setting) {
    return std::make_unique<BrowserPage>(setting, BrowserPage::Account::OfAFile);
}

INSTANTIATE_TEST_SUITE_P(Browser, TheContract, onHost(&openWithFile), nameOfVisit);

#ifdef SSO_SERVICE
std::unique_ptr<Page> openWithService(const Setting& setting) {
    return std::make_unique<BrowserPage>(setting, BrowserPage::Account::OfTheService);
}

INSTANTIATE_TEST_SUITE_P(BrowserOnTheService, TheContract, onHost(&openWithService), nameOfVisit);
#endif

}  // namespace
}  // namespace contract
