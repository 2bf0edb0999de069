// The contract, on the fake plug-in that applications test themselves with.

#include <fstream>
#include <memory>
#include <string>

#include "contract_suite.h"
#include "module_path.h"
#include "process.h"

namespace contract {
namespace {

using nlohmann::json;

/// Runs a script in node that is the page.
class FakePage : public Page {
  public:
    explicit FakePage(const Setting& setting) {
        json account = json::object();
        if (!setting.account.empty()) {
            std::ifstream file(setting.account);
            account = json::parse(file);
        }
        m_setting = {{"privileges", setting.privileges}, {"account", account}};
    }

    Received send(const std::vector<Row>& rows) override {
        support::ProcessOptions options;
        options.input = m_setting.dump() + "\n";
        for (const Row& row : rows) {
            json line = {{"path", nameOf(row.path)}, {"request", row.request}};
            if (!row.javaScript.empty()) line["javaScript"] = row.javaScript;
            options.input += line.dump() + "\n";
        }
        const auto page =
            support::runProcess({SSO_NODE, SSO_FAKE_PAGE, SSO_CLIENT_TESTING}, options);
        EXPECT_EQ(page.exitCode, 0) << page.errors;
        Received received;
        for (const std::string& text : page.outputLines()) {
            const json line = json::parse(text);
            if (line.contains("answer")) received.answers.push_back(line["answer"]);
            if (line.contains("left")) received.left = line["left"].get<std::vector<json>>();
        }
        return received;
    }

  private:
    json m_setting;
};

std::unique_ptr<Page> openFakePage(const Setting& setting) {
    return std::make_unique<FakePage>(setting);
}

TEST(TheClientsFake, AnswersRandomPagesAsThePlugInDoes) {
    const auto pages = support::runProcess({SSO_NODE, SSO_RANDOM_PAGES, SSO_CLIENT_TESTING,
                                            support::builtPath("bin/sso-host"), "40", "1"});
    EXPECT_EQ(pages.exitCode, 0) << pages.errors;
    EXPECT_EQ(pages.output, "2400 answered alike\n");
}

INSTANTIATE_TEST_SUITE_P(ClientFake, TheContract, onHost(&openFakePage), nameOfVisit);

}  // namespace
}  // namespace contract
