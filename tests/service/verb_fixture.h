#ifndef SERVICE_VERB_FIXTURE_H_
#define SERVICE_VERB_FIXTURE_H_

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "state.h"
#include "temporary_folder.h"
#include "verbs.h"

/// Verbs on states in a folder of the test's own, with a world that only remembers.
class VerbTest : public ::testing::Test, public service::World, public service::States {
  protected:
    using Words = std::vector<std::string>;
    using Json = service::Json;

    VerbTest() = default;

    service::State& state() { return get("default"); }
    service::VerbResult runWords(const Words& words, const std::string& input = "");
    /// Of a verb that is done. Splits the line at its blanks.
    Json done(const std::string& line, const std::string& input = "");
    /// Of a verb that is refused: why. Checks that it is.
    std::string refused(const std::string& line, const std::string& input = "");
    /// Opens a popup. Its end is added to `m_ended`.
    void open(service::PopupKind kind, const std::string& agent);
    /// Closes all states, as the service's end does.
    void restart() { m_states.clear(); }

    std::vector<std::string> m_events;   ///< all that watchers were told
    std::vector<std::string> m_windows;  ///< what became of windows
    std::vector<account::PopupState> m_ended;

  private:
    service::Loop& loop() override { return m_loop; }
    void tell(const std::string& state, const Json& event) override;
    std::string agentOf(const std::string& /*key*/) override { return ":agent"; }
    void openWindow(const service::OpenPopup& popup, const std::string& title,
                    const std::string& html, std::function<void()> failed) override;
    void closeWindow(const service::OpenPopup& popup) override;
    void fillWindow(const service::OpenPopup& popup,
                    const std::map<std::string, std::string>& fields, bool submit) override;
    std::vector<std::string> names() override;
    service::State& get(const std::string& name) override;
    bool remove(const std::string& name) override;

    support::TemporaryFolder m_folder;
    service::Loop m_loop;
    std::map<std::string, std::unique_ptr<service::State>> m_states;
};

#endif
