#ifndef BROWSER_DISPLAY_H_
#define BROWSER_DISPLAY_H_

#include <sys/types.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

struct _XDisplay;

namespace browser {

/// Asks until the answer is yes. @return whether it was, in time.
template <typename Ask>
bool eventually(double seconds, Ask ask) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!ask()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

/// A display of a test's own, and a person before it.
class Display {
  public:
    Display();
    ~Display();
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    /// "DISPLAY=:N"
    const std::string& variable() const { return m_variable; }

    /// Whether a window with this title is to be seen.
    bool shows(const std::string& title) const;
    /// Waits for it, at most 20 seconds.
    bool waitFor(const std::string& title) const;
    /// Waits until it is gone, at most `seconds`.
    bool waitForEnd(const std::string& title, double seconds = 20) const;

    /// Lets a window have the keys, as a window manager does; here there is none.
    void focus(const std::string& title) const;
    /// Presses keys, by their X names, in the window that has the focus.
    void press(const std::vector<std::string>& keys) const;
    void type(const std::string& text) const;
    /// Clicks at a place of the window, in pixels.
    void click(const std::string& title, int x, int y) const;
    /// Takes the window off the screen, as a window manager does with one that is minimized.
    void minimize(const std::string& title) const;
    /// Presses the button in the title bar that closes the window.
    void close(const std::string& title) const;

  private:
    std::string xdotool(std::vector<std::string> words) const;
    /// @return the number of the window, or 0 when none with this title is to be seen.
    unsigned long find(const std::string& title) const;

    pid_t m_server = -1;
    _XDisplay* m_connection = nullptr;
    std::string m_variable;
};

}  // namespace browser

#endif
