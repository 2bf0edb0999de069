#ifndef BROWSER_XVFB_H_
#define BROWSER_XVFB_H_

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace browser {

/// A virtual display of this program's own. It ends with the object, and with this process however
/// that ends.
class Xvfb {
  public:
    /// Returns once the display accepts connections. Call on the main thread: the display ends with
    /// the thread that made it.
    ///
    /// @param width,height  of the screen, in pixels.
    /// @throws std::runtime_error   when Xvfb is not installed, does not start, or cannot be used.
    /// @param folder        that only this user can enter; gets the key without which nobody else can
    ///                      use the display.
    Xvfb(int width, int height, const std::filesystem::path& folder);
    ~Xvfb();
    Xvfb(const Xvfb&) = delete;
    Xvfb& operator=(const Xvfb&) = delete;

    /// As the variables DISPLAY and XAUTHORITY want it.
    const std::string& display() const { return m_display; }
    const std::string& authority() const { return m_authority; }

  private:
    /// @return the number of the display.
    std::string start(const std::string& screen);
    void end();

    pid_t m_pid = -1;
    std::string m_display;
    std::string m_authority;
};

}  // namespace browser

#endif
