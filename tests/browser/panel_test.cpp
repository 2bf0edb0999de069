// The desk's panel, without a display; what its switches do to a page is tested with windows.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QThread>
#include <QTreeWidget>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "embedder/application_manifest.h"
#include "src/panel/panel.h"
#include "temporary_folder.h"

namespace {

using browser::Panel;
using browser::PanelSetting;
using browser::VerbResult;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ThePanel : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        static int count = 1;
        static char name[] = "panel";
        static char* arguments[] = {name, nullptr};
        static QApplication application(count, arguments);
    }

    ThePanel() {
        m_setting.application = {"Demo", {embedder::privilegeIdentifier("partner")}};
        m_setting.account = QStringLiteral("account.json, which stays as it is");
    }

    /// With an account service that answers as `m_answers` says.
    Panel& serve() {
        m_setting.runVerb = [this](const QStringList& words, auto done) {
            const std::string verb = words.join(QLatin1Char(' ')).toStdString();
            m_verbs.push_back(verb);
            done(verb == "status" ? m_status
                 : verb == "preset list"
                     ? VerbResult{0, QStringLiteral(R"([{"name":"offline"},{"name":"slow"}])"), {}}
                     : m_outcome);
        };
        return show();
    }
    Panel& show() {
        m_panel = std::make_unique<Panel>(m_setting);
        settle();
        return *m_panel;
    }
    static void settle() {
        for (int i = 0; i < 20; ++i) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
            QThread::msleep(5);
        }
    }

    std::string label(const char* name) const {
        const auto* found = m_panel->findChild<QLabel*>(QString::fromLatin1(name));
        return found != nullptr ? found->text().toStdString() : "no such label";
    }
    void press(const char* text) {
        for (QPushButton* button : m_panel->findChildren<QPushButton*>()) {
            if (button->text() == QLatin1String(text)) button->click();
        }
        settle();
    }
    /// A message's row, as it is shown.
    std::vector<std::string> row(int number) const {
        const auto* tree = m_panel->findChild<QTreeWidget*>();
        std::vector<std::string> texts;
        for (int i = 0; i < 4; ++i) {
            texts.push_back(tree->topLevelItem(number)->text(i).toStdString());
        }
        return texts;
    }
    int rows() const { return m_panel->findChild<QTreeWidget*>()->topLevelItemCount(); }

    PanelSetting m_setting;
    VerbResult m_status{
        0,
        QStringLiteral(R"({"state":"default","signedIn":"mia","accounts":2,"clients":1,
        "mappings":3,"tokens":4,"terms":{"terms-1":"agreed"},
        "orders":{"sso_show":{"failure":-7,"times":1,"delayMs":500}}})"),
        {}};
    VerbResult m_outcome{0, QStringLiteral("{}"), {}};
    std::vector<std::string> m_verbs;
    std::unique_ptr<Panel> m_panel;
};

TEST_F(ThePanel, ShowsTheAccountAndItsSession) {
    serve();
    EXPECT_EQ(label("session"), "Signed in: mia");
    EXPECT_EQ(label("counts"),
              "state default \u00b7 accounts 2 \u00b7 clients 1 \u00b7 tokens 4 \u00b7 mappings 3 "
              "\u00b7 terms-1 agreed");
    EXPECT_EQ(label("orders"), "sso_show: fails 1 more with -7, takes 500 ms more");
}

TEST_F(ThePanel, FollowsWhatHappens) {
    Panel& panel = serve();
    m_status.output = QStringLiteral(R"({"state":"default","signedIn":null})");
    panel.onEvent(QStringLiteral(R"({"event":"changed","what":"session"})"));
    settle();
    EXPECT_EQ(label("session"), "Nobody is signed in");
    m_status = {-1, {}, QStringLiteral("the account service does not answer")};
    panel.onEvent({});
    settle();
    EXPECT_EQ(label("session"), "the account service does not answer");
}

TEST_F(ThePanel, HasSwitchesThatActAtOnce) {
    serve();
    m_verbs.clear();
    m_panel->findChild<QComboBox*>(QStringLiteral("presets"))
        ->setCurrentText(QStringLiteral("slow"));
    m_panel->findChild<QComboBox*>(QStringLiteral("operations"))
        ->setCurrentText(QStringLiteral("getGuid"));
    const std::pair<const char*, const char*> switches[] = {
        {"&Sign out", "sign-out"},
        {"&Expire tokens", "token expire"},
        {"&Reset faults", "reset"},
        {"Use &preset", "preset use slow"},
        {"&Fail next", "fail sso_plugin_getGuid --times 1"},
        {"&Delay", "delay sso_plugin_getGuid 2000"},
    };
    for (const auto& [button, verb] : switches) {
        press(button);
        EXPECT_THAT(m_verbs, Contains(verb));
        EXPECT_EQ(label("outcome"), std::string(verb) + ": done");
    }
    m_outcome = {1, {}, QStringLiteral("nobody is signed in")};
    press("&Sign out");
    EXPECT_EQ(label("outcome"), "sign-out: nobody is signed in");
}

TEST_F(ThePanel, SaysWhereTheAccountIsWithoutAService) {
    show();
    EXPECT_EQ(label("session"), "account.json, which stays as it is");
    EXPECT_TRUE(m_panel->findChildren<QPushButton*>().isEmpty());
}

TEST_F(ThePanel, ShowsWhichPrivilegesTheApplicationHas) {
    show();
    EXPECT_EQ(label("sso.partner"), "\u2713 sso.partner");
    EXPECT_EQ(label("sso.platform"), "\u2717 sso.platform, not granted");
}

TEST_F(ThePanel, ShowsRequestsWithTheirAnswers) {
    Panel& panel = show();
    panel.onMessage(
        R"({"time":"2026-11-21T08:50:20.939Z","instance":1,"path":"async","request":{"command":"sso_plugin_createAccount"}})");
    panel.onMessage(
        R"({"time":"2026-11-21T08:50:21.000Z","instance":2,"path":"async","request":{"command":"sso_plugin_createAccount"}})");
    EXPECT_THAT(row(0), ElementsAre("08:50:20", "createAccount", "\u2026", ""));
    panel.onMessage(
        R"({"time":"2026-11-21T08:50:22.000Z","instance":2,"path":"async","answer":{"command":"sso_plugin_createAccount","status":0,"state":1},"command":"sso_plugin_createAccount","milliseconds":1000.04})");
    EXPECT_THAT(row(0), ElementsAre("08:50:20", "createAccount", "\u2026", ""));
    EXPECT_THAT(row(1), ElementsAre("08:50:21", "createAccount", "state 1", "1000.0"));
    panel.onMessage(
        R"({"time":"2026-11-21T08:50:23.000Z","instance":1,"path":"async","answer":{"command":"sso_plugin_x","status":0}})");
    EXPECT_THAT(row(2), ElementsAre("08:50:23", "x", "answers no request: done", ""));
    EXPECT_EQ(rows(), 3);
}

TEST_F(ThePanel, ExplainsARefusal) {
    Panel& panel = show();
    panel.onMessage(
        R"({"time":"2026-11-21T08:50:20.939Z","instance":1,"path":"blocking","request":{"command":"sso_plugin_getSSOState"}})");
    panel.onMessage(
        R"({"time":"2026-11-21T08:50:20.939Z","instance":1,"path":"blocking","answer":{"code":18,"errorName":"SecurityError","errorMessage":"x"},"command":"sso_plugin_getSSOState","milliseconds":0.5})");
    EXPECT_THAT(row(0), ElementsAre("08:50:20", "getSSOState", "18 SecurityError", "0.5"));
    std::string whole;
    for (const QPlainTextEdit* text : m_panel->findChildren<QPlainTextEdit*>()) {
        whole += text->toPlainText().toStdString();
    }
    EXPECT_THAT(whole, HasSubstr("lacks the privilege sso.platform; its manifest grants it by "
                                 "\"privileges\": [\"sso.platform\"]"));
}

TEST_F(ThePanel, KeepsTheLastThousandMessages) {
    Panel& panel = show();
    for (int i = 0; i < 1003; ++i) {
        panel.onMessage(
            R"({"time":"2026-11-21T08:50:20.939Z","instance":1,"path":"async","request":{"command":"c)" +
            std::to_string(i) + R"("}})");
    }
    EXPECT_EQ(rows(), 1000);
    EXPECT_EQ(row(0)[1], "c3");
}

TEST_F(ThePanel, FollowsTheLog) {
    support::TemporaryFolder folder;
    m_setting.log = folder.path("log");
    show();
    folder.write("log", "one line\nanother");
    const QPlainTextEdit* log = nullptr;
    for (const QPlainTextEdit* text : m_panel->findChildren<QPlainTextEdit*>()) {
        if (text->placeholderText() == QLatin1String("Nothing logged yet.")) log = text;
    }
    ASSERT_NE(log, nullptr);
    for (int i = 0; i < 100 && log->toPlainText().isEmpty(); ++i) settle();
    EXPECT_EQ(log->toPlainText().toStdString(), "one line");
}

}  // namespace
