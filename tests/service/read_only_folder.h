#ifndef TESTS_SERVICE_READ_ONLY_FOLDER_H_
#define TESTS_SERVICE_READ_ONLY_FOLDER_H_

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

/// A folder in which nobody can change anything once it is sealed. Permissions do not stop root: for root it is a file
/// system, in a mount namespace into which this thread goes, and what it starts.
class ReadOnlyFolder {
  public:
    /// @param folder  that is there and empty.
    explicit ReadOnlyFolder(std::filesystem::path folder) : m_folder(std::move(folder)) {
        if (geteuid() != 0) return;
        const bool isMounted =
            unshare(CLONE_NEWNS) == 0 &&
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            mount("tmpfs", m_folder.c_str(), "tmpfs", MS_NOSUID, "mode=0700") == 0;
        if (!isMounted) m_obstacle = std::generic_category().message(errno);
        m_isMounted = isMounted;
    }
    ~ReadOnlyFolder() {
        if (m_isMounted) {
            umount2(m_folder.c_str(), MNT_DETACH);
        } else {
            unseal();
        }
    }
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

    /// Why it cannot be; "" when it can.
    const std::string& obstacle() const { return m_obstacle; }

    /// Waits some seconds for the end of programs that have a file in it open for writing.
    void seal() { set(false); }
    void unseal() { set(true); }

  private:
    void set(bool isWritable) {
        using std::filesystem::perm_options;
        const unsigned long flags = MS_REMOUNT | (isWritable ? 0U : unsigned{MS_RDONLY});
        if (m_isMounted) {
            for (int tries = 0; tries < 500; ++tries) {
                if (mount(nullptr, m_folder.c_str(), nullptr, flags, nullptr) == 0) return;
                if (errno != EBUSY) break;
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
            throw std::system_error(errno, std::generic_category(), m_folder.string());
        }
        const auto how = isWritable ? perm_options::add : perm_options::remove;
        const auto write = std::filesystem::perms::owner_write;
        if (isWritable) std::filesystem::permissions(m_folder, write, how);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder)) {
            std::filesystem::permissions(entry.path(), write, how);
        }
        if (!isWritable) std::filesystem::permissions(m_folder, write, how);
    }

    const std::filesystem::path m_folder;
    std::string m_obstacle;
    bool m_isMounted = false;
};

#endif
