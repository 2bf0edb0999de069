// Where the private bus of a user is.

#include "service/bus_address.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using service::privateBusFolder;

/// A variable of this process's environment has another value, or none, for a while.
class Variable {
  public:
    Variable(const char* name, const std::optional<std::string>& value) : m_name(name) {
        if (const char* former = getenv(name)) m_former = former;
        set(value);
    }
    ~Variable() { set(m_former); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    void set(const std::optional<std::string>& value) {
        if (value) {
            setenv(m_name, value->c_str(), 1);
        } else {
            unsetenv(m_name);
        }
    }

    const char* m_name;
    std::optional<std::string> m_former;
};

class ThePrivateBus : public ::testing::Test {
  protected:
    std::string complaint() const {
        try {
            return privateBusFolder().string() + " is taken";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    support::TemporaryFolder m_folder;
    Variable m_temporary{"TMPDIR", m_folder.path("")};
    const fs::path m_withoutSession =
        m_folder.path("") / fs::path("sso-desk-bus-" + std::to_string(getuid()));
};

TEST_F(ThePrivateBus, IsInTheFolderOfTheSessionForTheUserAlone) {
    fs::create_directory(m_folder.path("run"));
    const Variable runtime("XDG_RUNTIME_DIR", m_folder.path("run"));
    const mode_t former = umask(0);
    const fs::path folder = privateBusFolder();
    umask(former);
    EXPECT_EQ(folder, m_folder.path("run/sso-desk-bus"));
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    EXPECT_EQ(privateBusFolder(), folder) << "once more";
    EXPECT_FALSE(fs::exists(m_withoutSession));
}

TEST_F(ThePrivateBus, IsInTheFolderForWhatIsTemporaryWithoutOneOfTheSession) {
    const std::optional<std::string> useless[] = {std::nullopt, "", "here",
                                                  m_folder.path("nowhere")};
    for (const auto& name : useless) {
        SCOPED_TRACE(name.value_or("none"));
        const Variable runtime("XDG_RUNTIME_DIR", name);
        EXPECT_EQ(privateBusFolder(), m_withoutSession);
        EXPECT_TRUE(fs::remove(m_withoutSession));
    }
}

// Anybody may make something of that name in a folder that all share.
TEST_F(ThePrivateBus, IsInNoFolderThatOthersCanUse) {
    const Variable runtime("XDG_RUNTIME_DIR", std::nullopt);
    const std::string expected = m_withoutSession.string() +
                                 " is not a folder of this user alone; remove it, or set "
                                 "XDG_RUNTIME_DIR";
    fs::create_directory(m_withoutSession);
    for (const fs::perms others : {fs::perms::group_exec, fs::perms::others_read}) {
        fs::permissions(m_withoutSession, fs::perms::owner_all | others);
        EXPECT_EQ(complaint(), expected);
    }
    fs::remove(m_withoutSession);

    fs::create_directory(m_folder.path("own"));
    fs::permissions(m_folder.path("own"), fs::perms::owner_all);
    fs::create_directory_symlink(m_folder.path("own"), m_withoutSession);
    EXPECT_EQ(complaint(), expected) << "a link";
    fs::remove(m_withoutSession);

    m_folder.write(m_withoutSession.filename(), "");
    fs::permissions(m_withoutSession, fs::perms::owner_all);
    EXPECT_EQ(complaint(), expected) << "a file";
}

TEST_F(ThePrivateBus, IsInNoFolderOfSomebodyElse) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder to somebody else";
    const Variable runtime("XDG_RUNTIME_DIR", std::nullopt);
    fs::create_directory(m_withoutSession);
    fs::permissions(m_withoutSession, fs::perms::owner_all);
    ASSERT_EQ(chown(m_withoutSession.c_str(), 65534, 65534), 0);
    EXPECT_EQ(complaint(), m_withoutSession.string() +
                               " is not a folder of this user alone; remove it, or set "
                               "XDG_RUNTIME_DIR");
}

}  // namespace
