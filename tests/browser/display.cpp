#include "display.h"

#include <X11/Xlib.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "process.h"

namespace browser {
namespace {

constexpr double kPatience = 20;  // seconds

}  // namespace

Display::Display() {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    const std::string number = std::to_string(ends[1]);
    std::vector<std::string> words = {"Xvfb", "-displayfd",  number,      "-screen",
                                      "0",    "1280x800x24", "-nolisten", "tcp"};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int failure =
        posix_spawnp(&m_server, "Xvfb", &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    std::string text;
    char letter = 0;
    while (failure == 0 && read(ends[0], &letter, 1) == 1 && letter != '\n') text += letter;
    ::close(ends[0]);
    if (text.empty()) throw std::runtime_error("Xvfb does not start");
    m_variable = "DISPLAY=:" + text;
}

Display::~Display() {
    kill(m_server, SIGTERM);
    waitpid(m_server, nullptr, 0);
}

std::string Display::xdotool(std::vector<std::string> words) const {
    words.insert(words.begin(), {"/usr/bin/xdotool"});
    support::ProcessOptions options;
    options.environment = {m_variable};
    return support::runProcess(words, options).output;
}

std::string Display::find(const std::string& title) const {
    const std::string found = xdotool({"search", "--onlyvisible", "--name", "^" + title + "$"});
    return found.substr(0, found.find('\n'));
}

bool Display::shows(const std::string& title) const { return !find(title).empty(); }

bool Display::waitFor(const std::string& title) const {
    return eventually(kPatience, [&] { return shows(title); });
}

bool Display::waitForEnd(const std::string& title, double seconds) const {
    return eventually(seconds, [&] { return !shows(title); });
}

void Display::focus(const std::string& title) const {
    xdotool({"windowfocus", "--sync", find(title)});
}

void Display::press(const std::vector<std::string>& keys) const {
    std::vector<std::string> words = {"key"};
    words.insert(words.end(), keys.begin(), keys.end());
    xdotool(words);
}

void Display::type(const std::string& text) const { xdotool({"type", "--delay", "5", text}); }

void Display::click(const std::string& title, int x, int y) const {
    xdotool(
        {"mousemove", "--window", find(title), std::to_string(x), std::to_string(y), "click", "1"});
}

// What a window manager sends when somebody presses the button; here there is none.
void Display::close(const std::string& title) const {
    ::Display* display = XOpenDisplay(m_variable.substr(sizeof("DISPLAY=") - 1).c_str());
    if (display == nullptr) throw std::runtime_error("the display is gone");
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = std::stoul(find(title));
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    XSendEvent(display, event.xclient.window, False, NoEventMask, &event);
    XCloseDisplay(display);
}

}  // namespace browser
