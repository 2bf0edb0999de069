#include "display.h"

#include <X11/XF86keysym.h>
#include <X11/Xlib.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "process.h"

namespace browser {
namespace {

constexpr double kPatience = 20;  // seconds

/// What XFree() is for.
template <typename T>
using FromX = std::unique_ptr<T, int (*)(void*)>;

/// Windows go while they are looked at, and that is no error here.
int ignoreError(::Display* /*display*/, XErrorEvent* /*error*/) { return 0; }

/// As window managers read it. The older WM_NAME, which xdotool searches, may not have left the program yet:
/// Qt writes it last, and does not flush it.
std::string titleOf(::Display* display, Window window) {
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    Atom type = None;
    int format = 0;
    unsigned long size = 0;
    unsigned long rest = 0;
    unsigned char* bytes = nullptr;
    XGetWindowProperty(display, window, XInternAtom(display, "_NET_WM_NAME", False), 0, 1024, False,
                       utf8, &type, &format, &size, &rest, &bytes);
    const FromX<unsigned char> owned(bytes, XFree);
    return type == utf8 ? std::string(bytes, bytes + size) : std::string();
}

/// The OK of a remote control is on no keyboard. xdotool would lend it a key that has another meaning again before a busy
/// program has looked.
void addRemoteControl(::Display* display) {
    int lowest = 0;
    int highest = 0;
    XDisplayKeycodes(display, &lowest, &highest);
    KeySym select = XF86XK_Select;
    XChangeKeyboardMapping(display, highest, 1, &select, 1);
    XSync(display, False);
}

bool isToBeSeen(::Display* display, Window window) {
    XWindowAttributes attributes{};
    return XGetWindowAttributes(display, window, &attributes) != 0 &&
           attributes.map_state == IsViewable;
}

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
    XSetErrorHandler(ignoreError);
    m_connection = XOpenDisplay((":" + text).c_str());
    if (m_connection == nullptr) throw std::runtime_error("Xvfb takes no connection");
    addRemoteControl(m_connection);
}

Display::~Display() {
    XCloseDisplay(m_connection);
    kill(m_server, SIGTERM);
    waitpid(m_server, nullptr, 0);
}

std::string Display::xdotool(std::vector<std::string> words) const {
    words.insert(words.begin(), {"/usr/bin/xdotool"});
    support::ProcessOptions options;
    options.environment = {m_variable};
    return support::runProcess(words, options).output;
}

unsigned long Display::find(const std::string& title) const {
    Window root = 0;
    Window parent = 0;
    Window* all = nullptr;
    unsigned count = 0;
    XQueryTree(m_connection, DefaultRootWindow(m_connection), &root, &parent, &all, &count);
    const FromX<Window> owned(all, XFree);
    const auto* const found = std::find_if(all, all + count, [&](Window window) {
        return titleOf(m_connection, window) == title && isToBeSeen(m_connection, window);
    });
    return found == all + count ? 0 : *found;
}

bool Display::shows(const std::string& title) const { return find(title) != 0; }

bool Display::waitFor(const std::string& title) const {
    return eventually(kPatience, [&] { return shows(title); });
}

bool Display::waitForEnd(const std::string& title, double seconds) const {
    return eventually(seconds, [&] { return !shows(title); });
}

void Display::focus(const std::string& title) const {
    xdotool({"windowfocus", "--sync", std::to_string(find(title))});
}

void Display::press(const std::vector<std::string>& keys) const {
    std::vector<std::string> words = {"key"};
    words.insert(words.end(), keys.begin(), keys.end());
    xdotool(words);
}

void Display::type(const std::string& text) const { xdotool({"type", "--delay", "5", text}); }

void Display::click(const std::string& title, int x, int y) const {
    xdotool({"mousemove", "--window", std::to_string(find(title)), std::to_string(x),
             std::to_string(y), "click", "1"});
}

void Display::minimize(const std::string& title) const {
    XUnmapWindow(m_connection, find(title));
    XSync(m_connection, False);
}

// What a window manager sends when somebody presses the button; here there is none.
void Display::close(const std::string& title) const {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = find(title);
    event.xclient.message_type = XInternAtom(m_connection, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] =
        static_cast<long>(XInternAtom(m_connection, "WM_DELETE_WINDOW", False));
    XSendEvent(m_connection, event.xclient.window, False, NoEventMask, &event);
    XFlush(m_connection);
}

}  // namespace browser
