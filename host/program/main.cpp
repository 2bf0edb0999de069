#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "command_line.h"
#include "embedder/environment.h"
#include "embedder/output_file.h"
#include "embedder/pseudonyms.h"
#include "event_lines.h"
#include "json_lines.h"
#include "player.h"
#include "recording.h"
#include "replay.h"
#include "request.h"

namespace {

/// @param what  one line or several.
void complain(const std::string& what) {
    std::istringstream lines(what);
    for (std::string line; std::getline(lines, line);) std::cerr << "sso-host: " + line + "\n";
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Where the messages go, if anywhere.
class Messages {
  public:
    /// @param output  of the program, for those that go there, too. Not copied.
    Messages(const embedder::Options& options, JsonLines& output) : m_name(options.messages) {
        if (m_name == "-") {
            m_lines = &output;
        } else if (!m_name.empty()) {
            m_file.reset(embedder::openOutputFile(m_name, "the messages"));
            m_lines = &m_fileLines.emplace(m_file.get());
        }
        if (options.pseudonyms) m_pseudonyms.emplace();
    }

    /// Takes their lines; empty when nobody wants them.
    std::function<void(const std::string&)> writer() {
        if (m_lines == nullptr) return nullptr;
        return [this](const std::string& line) {
            m_lines->writeLine(m_pseudonyms ? m_pseudonyms->line(line) : line);
        };
    }

    /// @return whether all were written, and says so when they were not.
    bool works() const {
        const bool works = !m_fileLines || m_fileLines->works();
        if (!works) complain("the messages " + m_name + " cannot be written");
        return works;
    }

  private:
    const std::string m_name;
    std::unique_ptr<std::FILE, CloseFile> m_file;
    std::optional<JsonLines> m_fileLines;
    JsonLines* m_lines = nullptr;
    std::optional<embedder::Pseudonyms> m_pseudonyms;
};

/// Plays a page from the lines of standard input, until the input ends or nobody reads the output.
void playStandardInput(Player& player, const JsonLines& output, std::chrono::milliseconds linger) {
    std::string line;
    for (std::size_t number = 1; output.works() && std::getline(std::cin, line); ++number) {
        if (!isComment(line)) player.play(number, line);
    }
    if (output.works()) player.finish(linger);
}

/// @param recording  to play in the place of standard input.
int play(const CommandLine& commandLine, std::optional<Recording> recording) {
    JsonLines output(stdout);
    Messages messages(commandLine.common, output);
    EventLines events(output);
    std::optional<Replay> replay;
    if (recording) replay.emplace(std::move(*recording), commandLine.linger);

    Player player(commandLine, replay ? static_cast<PlayerListener&>(*replay) : events,
                  messages.writer());
    if (replay) {
        output.writeLine(replay->run(player));
    } else {
        playStandardInput(player, output, commandLine.linger);
    }
    const std::vector<std::string> problems = player.unload();

    bool failed = replay ? !replay->isSame() : events.hadErrors();
    if (!output.works()) {
        complain("cannot write to standard output");
        failed = true;
    }
    if (!messages.works()) failed = true;
    for (const std::string& problem : problems) complain(problem);
    if (!problems.empty()) return kReferenceProblems;
    if (failed) return kRunFailed;
    if (!commandLine.strict || player.refusals() == 0) return kAllWell;
    complain("--strict: " + std::to_string(player.refusals()) +
             (player.refusals() == 1 ? " request was refused" : " requests were refused"));
    return kStrict;
}

int runProgram(int argc, char** argv) {
    const CommandLine commandLine = readCommandLine(argc, argv);
    std::optional<Recording> recording;
    if (!commandLine.replay.empty()) recording = readRecording(commandLine.replay);
    const auto service = embedder::ServiceHold::get(commandLine.common);
    embedder::prepareEnvironment(commandLine.common, service);
    return play(commandLine, std::move(recording));
}

}  // namespace

int main(int argc, char** argv) {
    // Whoever reads the output may leave: end quietly, even if the parent ignores the signal.
    std::signal(SIGPIPE, SIG_DFL);
    std::ios::sync_with_stdio(false);
    try {
        return runProgram(argc, argv);
    } catch (const CommandLineEnd& end) {
        return end.exitCode;
    } catch (const std::exception& error) {
        complain(error.what());
        return embedder::kExitBadInput;
    }
}
