// The account service's part that reads what others write: a state's file, what a store's file holds, the arguments
// of the remote control's verbs and of the windows. Whatever they say, the service goes on, and what it keeps can be
// written and read again.
//
// The first letter of an input says what the rest is:
//   s  a state's file
//   k  lines NAME=VALUE, the values that a store has beside its tables
//   d  bytes that are put into a store's file, each behind its place in two bytes
//   v  lines of verbs, their words split at blanks; a line that begins with < is the input of the next
//   p  lines of windows: a letter for the popup that is opened, then what is pressed, and the form's fields
#include <utf8.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "account/account_file.h"
#include "state.h"
#include "state_document.h"
#include "store.h"
#include "support/bytes.h"
#include "support/require.h"
#include "verb_tree.h"
#include "verbs.h"

namespace {

namespace fs = std::filesystem;
using account::PopupState;
using fuzz::require;
using service::State;
using service::StateDocument;
using service::VerbResult;

constexpr std::size_t kMostLines = 6;

/// A folder in memory where there is one. It goes with the process.
class Folder {
  public:
    Folder() {
        std::string name =
            (fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
            "fuzz-service-XXXXXX";
        require(mkdtemp(name.data()) != nullptr, "there is a temporary folder");
        m_path = name;
    }
    ~Folder() { fs::remove_all(m_path); }
    fs::path file(const std::string& name) const { return m_path / (name + ".db"); }
    void empty() const {
        for (const auto& entry : fs::directory_iterator(m_path)) fs::remove(entry.path());
    }

  private:
    fs::path m_path;
};

const Folder& folder() {
    static const Folder folder;
    return folder;
}

/// A service without a bus.
class Desk : public service::World, public service::States {
  public:
    State& open(const std::string& name) { return get(name); }

    service::Loop& loop() override { return m_loop; }
    void tell(const std::string&, const service::Json& event) override {
        require(!event.dump(-1, ' ', false, service::Json::error_handler_t::replace).empty(),
                "an event can be told");
    }
    std::string agentOf(const std::string&) override { return ":agent"; }
    void openWindow(const service::OpenPopup&, const std::string&, const std::string& html,
                    std::function<void()>) override {
        // The pages have a script of their own, and none of what others say.
        require(html.find("<script>fuzz") == std::string::npos, "a window shows texts as texts");
    }
    void closeWindow(const service::OpenPopup&) override {}
    void fillWindow(const service::OpenPopup&, const std::map<std::string, std::string>&,
                    bool) override {}
    std::vector<std::string> names() override {
        std::vector<std::string> names;
        for (const auto& state : m_states) names.push_back(state.first);
        return names;
    }
    State& get(const std::string& name) override {
        auto& state = m_states[name];
        try {
            if (!state)
                state = std::make_unique<State>(
                    name, folder().file("s" + std::to_string(m_states.size())), *this);
        } catch (...) {
            m_states.erase(name);
            throw;
        }
        return *state;
    }
    bool remove(const std::string& name) override {
        return name != "default" && m_states.erase(name) != 0;
    }

  private:
    service::Loop m_loop;
    std::map<std::string, std::unique_ptr<State>> m_states;
};

/// A store's file as a service has left it, made once: to make one takes a while.
const std::string& storeFile() {
    static const std::string content = [] {
        folder().empty();
        {
            Desk desk;
            State& state = desk.open("default");
            std::ifstream preset(FUZZ_STATE);
            const std::string text((std::istreambuf_iterator<char>(preset)), {});
            StateDocument document = service::parseState(text, "state");
            // To hash them takes most of a second.
            for (account::Profile& profile : document.device.profiles) profile.password.clear();
            state.replace(document.device, document.orders, document.clock);
        }
        std::ifstream file(folder().file("s1"), std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(file)), {});
    }();
    return content;
}

void write(const std::string& content) {
    folder().empty();
    std::ofstream(folder().file("s1"), std::ios::binary) << content;
}

/// What a state holds is written, and read again without a change.
void requireKept(State& state) {
    const std::string written = service::asJson(service::documentOf(state))
                                    .dump(-1, ' ', false, service::Json::error_handler_t::replace);
    try {
        const StateDocument read = service::parseState(written, "written");
        require(service::asJson(read).dump() == written, "a state reads back as it was", written);
    } catch (const std::exception& error) {
        require(false, "what is kept can be read", error.what() + (" of " + written));
    }
    state.now();
}

// --- what is read ---

void readStateFile(const std::string& text) {
    StateDocument document;
    try {
        document = service::parseState(text, "file");
    } catch (const account::AccountFileError& error) {
        require(error.what()[0] != '\0', "a mistake is told");
        return;
    } catch (const service::Refused& error) {
        require(error.what()[0] != '\0', "a mistake is told");
        return;
    }
    const std::string written = service::asJson(document).dump();
    const std::string again = service::asJson(service::parseState(written, "written")).dump();
    require(again == written, "a state that was read is written as it is", written);
    for (account::Profile& profile : document.device.profiles) {
        profile.password.clear();
    }
    write(storeFile());
    Desk desk;
    State& state = desk.open("default");
    state.replace(document.device, document.orders, document.clock);
    requireKept(state);
}

void readValues(const std::string& text) {
    write(storeFile());
    {
        service::Store store(folder().file("s1"));
        std::istringstream lines(text);
        std::string line;
        for (std::size_t i = 0; i < kMostLines && std::getline(lines, line); ++i) {
            const std::size_t end = line.find('=');
            if (end != std::string::npos) store.setValue(line.substr(0, end), line.substr(end + 1));
        }
    }
    Desk desk;
    try {
        State& state = desk.open("default");
        state.now();
        state.orders();
        state.nextPopups();
        state.account();
    } catch (const std::exception& error) {
        require(error.what()[0] != '\0', "what cannot be used is told");
    }
}

void readDamaged(fuzz::Bytes bytes) {
    std::string content = storeFile();
    for (std::size_t i = 0; i < 32 && !bytes.isAtEnd(); ++i) {
        const std::size_t place = bytes.number(2) * content.size() / 65536;
        content[place] = static_cast<char>(bytes.byte());
    }
    write(content);
    Desk desk;
    try {
        State& state = desk.open("default");
        state.account();
        state.setNextPopup(service::PopupKind::Terms, PopupState::Closed);
    } catch (const std::exception& error) {
        require(error.what()[0] != '\0', "what cannot be used is told");
    }
}

// --- what is asked ---

/// A text as a bus passes it on: without NUL, and UTF-8.
std::string onBus(const std::string& text) {
    const std::string begin = text.c_str();
    return utf8::is_valid(begin) ? begin : std::string();
}

std::vector<std::string> split(const std::string& line) {
    std::istringstream stream(onBus(line));
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

void runVerbs(const std::string& text) {
    write(storeFile());
    Desk desk;
    State& state = desk.open("default");
    std::istringstream lines(text);
    std::string line;
    std::string input;
    for (std::size_t i = 0; i < kMostLines && std::getline(lines, line); ++i) {
        if (!line.empty() && line[0] == '<') {
            input = onBus(line.substr(1));
            continue;
        }
        const VerbResult result = service::runVerb(state, desk, split(line), input);
        const bool isDone = result.exitCode == service::kVerbDone;
        require(isDone == result.error.empty(), "a verb that is not done says why", line);
        require(isDone || result.output.empty(), "a verb that is not done prints nothing", line);
        require(result.error.find('\n') == std::string::npos, "an error is one line", result.error);
    }
    requireKept(state);
}

void pressButtons(const std::string& text) {
    write(storeFile());
    Desk desk;
    State& state = desk.open("default");
    std::istringstream lines(text);
    std::string line;
    std::size_t opened = 0;
    std::size_t ended = 0;
    for (std::size_t i = 0; i < kMostLines && std::getline(lines, line); ++i) {
        if (line.empty()) continue;
        service::OpenPopup popup;
        popup.kind = line[0] == 't'   ? service::PopupKind::Terms
                     : line[0] == 'c' ? service::PopupKind::CreateAccount
                                      : service::PopupKind::Login;
        std::istringstream words(onBus(line.substr(1)));
        std::string action;
        std::string name;
        std::string value;
        words >> action;
        std::map<std::string, std::string> fields;
        while (words >> name && words >> value) fields[name] = value;
        popup.termsId = popup.callerId = popup.page = fields["text"];
        popup.agent = ":agent";
        popup.end = [&ended](PopupState) { ++ended; };
        const bool isTooSlow = action == "sign-in" || fields.count("password") != 0;
        state.openPopup(std::move(popup));
        ++opened;
        // The newest, or one that is gone. To look at a password takes a tenth of a second.
        if (!isTooSlow) state.submit(opened, action, fields);
        state.fillPopup(opened, fields, true);
    }
    state.endAllPopups();
    require(ended == opened, "each popup ends once");
    requireKept(state);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0]) {
        case 's':
            readStateFile(text);
            break;
        case 'k':
            readValues(text);
            break;
        case 'd':
            readDamaged(fuzz::Bytes(data + 1, size - 1));
            break;
        case 'v':
            runVerbs(text);
            break;
        case 'p':
            pressButtons(text);
            break;
        default:
            break;
    }
    return 0;
}
