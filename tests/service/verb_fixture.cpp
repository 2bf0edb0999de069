#include "verb_fixture.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

using service::State;

service::VerbResult VerbTest::runWords(const Words& words, const std::string& input) {
    return service::runVerb(state(), *this, words, input);
}

namespace {

std::vector<std::string> split(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

}  // namespace

VerbTest::Json VerbTest::done(const std::string& line, const std::string& input) {
    const service::VerbResult result = runWords(split(line), input);
    EXPECT_EQ(result.exitCode, service::kVerbDone) << line << ": " << result.error;
    EXPECT_EQ(result.error, "") << line;
    return Json::parse(result.output, nullptr, false);
}

std::string VerbTest::refused(const std::string& line, const std::string& input) {
    const service::VerbResult result = runWords(split(line), input);
    EXPECT_EQ(result.exitCode, service::kVerbRefused) << line;
    EXPECT_EQ(result.output, "") << line;
    return result.error;
}

void VerbTest::open(service::PopupKind kind, const std::string& agent) {
    service::OpenPopup popup;
    popup.kind = kind;
    popup.page = kind == service::PopupKind::Login ? "login" : "";
    popup.termsId = kind == service::PopupKind::Terms ? "terms-1" : "";
    popup.agent = agent;
    popup.end = [this](account::PopupState ended) { m_ended.push_back(ended); };
    state().openPopup(std::move(popup));
}

void VerbTest::tell(const std::string& state, const Json& event) {
    Json told = event;
    told.erase("time");
    m_events.push_back(state + " " + told.dump());
}

void VerbTest::openWindow(const service::OpenPopup& popup, const std::string& /*title*/,
                          const std::string& /*html*/, std::function<void()> /*failed*/) {
    m_windows.push_back("open " + std::to_string(popup.id));
}

void VerbTest::closeWindow(const service::OpenPopup& popup) {
    m_windows.push_back("close " + std::to_string(popup.id));
}

void VerbTest::fillWindow(const service::OpenPopup& popup,
                          const std::map<std::string, std::string>& fields, bool submit) {
    m_windows.push_back("fill " + std::to_string(popup.id) + " " + Json(fields).dump() +
                        (submit ? " submit" : ""));
}

std::vector<std::string> VerbTest::names() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path("."))) {
        if (entry.path().extension() == ".db") names.push_back(entry.path().stem().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

State& VerbTest::get(const std::string& name) {
    auto& state = m_states[name];
    if (!state) state = std::make_unique<State>(name, m_folder.path(name + ".db"), *this);
    return *state;
}

bool VerbTest::remove(const std::string& name) {
    m_states.erase(name);
    return std::filesystem::remove(m_folder.path(name + ".db"));
}
