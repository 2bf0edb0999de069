#ifndef BASE_SWEPT_FOLDER_H_
#define BASE_SWEPT_FOLDER_H_

#include <filesystem>
#include <string>

namespace base {

/// A temporary folder that only this user can enter. Goes, with all it holds, with the object, and
/// when this process ends without a chance to do anything: another process waits for that, and does
/// nothing else.
class SweptFolder {
  public:
    /// Call while there is one thread, and before this process adopts others.
    ///
    /// @param name  that its own begins with: "sso-browser".
    /// @throws std::runtime_error  when no folder can be made.
    explicit SweptFolder(const std::string& name);
    ~SweptFolder();
    SweptFolder(const SweptFolder&) = delete;
    SweptFolder& operator=(const SweptFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    /// For an end of the process that runs no destructor.
    void remove() const;

  private:
    std::filesystem::path m_path;
    int m_sweeper = -1;  ///< a socket; the sweeper has the other end
};

}  // namespace base

#endif
