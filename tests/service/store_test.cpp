// What is kept of a state, and files that cannot be used.

#include "store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "account/account_file.h"
#include "database.h"
#include "read_only_folder.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using account::Description;
using account::Profile;
using service::Store;
using service::StoreError;
using ::testing::HasSubstr;

class AStore : public ::testing::Test {
  protected:
    fs::path file() const { return m_folder.path("state.db"); }

    std::string errorOf(const fs::path& path) {
        try {
            Store store(path);
            return "";
        } catch (const StoreError& error) {
            return error.what();
        }
    }

    support::TemporaryFolder m_folder;
};

/// Lets no file of this process grow beyond a size, while it lives.
class FileLimit {
  public:
    explicit FileLimit(std::uintmax_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_former);
        rlimit limit = m_former;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
        m_handler = signal(SIGXFSZ, SIG_IGN);
    }
    ~FileLimit() {
        setrlimit(RLIMIT_FSIZE, &m_former);
        signal(SIGXFSZ, m_handler);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

  private:
    rlimit m_former{};
    void (*m_handler)(int) = nullptr;
};

/// What can stand in any text: SQL, HTML, quotes, line ends, letters beyond ASCII.
const std::string kHostile =
    "'); DROP TABLE account; --\n\"<script>alert(1)</script>&\\ \xC3\xA9%s";

Description everything() {
    Description description;
    for (const char* name : {"robin", "kim"}) {
        Profile profile;
        profile.identity = {name + kHostile, kHostile + "u", kHostile + "g", kHostile + "a"};
        profile.displayName = kHostile + "d";
        profile.password = kHostile + "p";
        profile.mappings.add({kHostile + "1", kHostile + "2", kHostile + "3"});
        profile.mappings.add({"a", "b", "c"});
        profile.agreements = {{kHostile, "2"}, {"other", "1"}};
        profile.tokens[kHostile + "id"] = {kHostile + "t", 123456789012345, 7};
        profile.tokens["client"] = {"token", {}, 1};
        description.profiles.push_back(profile);
    }
    description.signedIn = "kim" + kHostile;
    description.clients[kHostile + "id"] = {kHostile + "s", kHostile + "t", 5000};
    description.clients["client"] = {"", "", {}};
    description.terms[kHostile] = {"2", kHostile + "title", kHostile + "text"};
    return description;
}

TEST_F(AStore, BeginsEmptyAndForTheUserAlone) {
    Store store(file());
    EXPECT_EQ(account::toJson(store.load()), account::toJson(Description()));
    EXPECT_EQ(store.value("any"), "");
    EXPECT_EQ(store.load().signedIn, std::nullopt);
    struct stat status {};
    for (const char* suffix : {"", "-wal", "-shm"}) {
        ASSERT_EQ(stat((file().string() + suffix).c_str(), &status), 0) << suffix;
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << suffix;
    }
}

TEST_F(AStore, GivesBackAllThatItWasGivenWhateverItsTexts) {
    {
        Store store(file());
        store.replace(everything(), {{"setting", kHostile}});
    }
    Store store(file());
    EXPECT_EQ(account::toJson(store.load()), account::toJson(everything()));
    EXPECT_EQ(store.value("setting"), kHostile);
    EXPECT_EQ(integrity(file()), "ok");
    store.replace(Description(), {});
    EXPECT_EQ(account::toJson(store.load()), account::toJson(Description()));
    EXPECT_EQ(store.value("setting"), kHostile);
}

TEST_F(AStore, KeepsWhatAnAccountRecords) {
    Store store(file());
    store.replace(everything(), {});
    account::Account account(store.load(), &store);
    account.signIn("robin" + kHostile);
    account.addMapping({"new", kHostile, "x"});
    account.removeMapping({"a", "b", ""});
    account.removeMapping({kHostile + "1", kHostile + "2", kHostile + "3"});
    account.accessToken(kHostile + "id", kHostile + "s", 999999999999999);
    account.endTerms(account::PopupState::Completed, kHostile);
    EXPECT_EQ(account::toJson(Store(file()).load()), account::toJson(account.description()));
    account.signOut();
    EXPECT_EQ(Store(file()).load().signedIn, std::nullopt);
}

TEST_F(AStore, HoldsLongTexts) {
    const std::string megabyte(1 << 20, 'x');
    Store store(file());
    Description description = everything();
    description.terms["long"] = {"1", megabyte, megabyte};
    description.profiles[0].mappings.add({megabyte, "b", "c"});
    store.replace(description, {});
    EXPECT_EQ(account::toJson(Store(file()).load()), account::toJson(description));
}

TEST_F(AStore, TellsThatAnotherHasChangedIt) {
    Store store(file());
    Store other(file());
    const auto before = store.changes();
    store.setValue("name", "own");
    EXPECT_EQ(store.changes(), before);
    other.setValue("name", "other's");
    EXPECT_NE(store.changes(), before);
    EXPECT_EQ(store.value("name"), "other's");
}

TEST_F(AStore, RefusesWhatItCannotKeepAndKeepsTheRest) {
    Store store(file());
    store.replace(everything(), {});
    Description twice = everything();
    twice.profiles[1] = twice.profiles[0];  // no two accounts have the same loginId
    EXPECT_THROW(store.replace(twice, {{"setting", "new"}}), StoreError);
    EXPECT_EQ(account::toJson(store.load()), account::toJson(everything()));
    EXPECT_EQ(store.value("setting"), "");
    // A token for somebody who is not there.
    EXPECT_THROW(store.token("nobody", "client", {"t", {}, 1}), StoreError);
    EXPECT_EQ(account::toJson(store.load()), account::toJson(everything()));
}

TEST_F(AStore, QuotesNoSecretInAnError) {
    Store store(file());
    try {
        store.token("hush-login", "hush-client", {"hush-token", {}, 1});
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(std::string(error.what()), "FOREIGN KEY constraint failed");
    }
}

TEST_F(AStore, ThatIsNoDatabaseIsRefusedAndLeftAsItIs) {
    std::ofstream(file())
        << "This is a text and no database, though it is long enough for a header, is it not? Yes.";
    EXPECT_EQ(errorOf(file()), file().string() + " cannot be used: file is not a database");
    std::string text;
    std::getline(std::ifstream(file()), text);
    EXPECT_THAT(text, HasSubstr("This is a text"));
}

/// Most programs give their databases neither a version nor an id.
TEST_F(AStore, OfAnotherProgramIsRefusedAndLeftAsItIs) {
    for (const char* marks : {"", "PRAGMA user_version = 1; PRAGMA application_id = 77"}) {
        SCOPED_TRACE(marks);
        fs::remove(file());
        execute(file(), std::string("CREATE TABLE theirs (x);") + marks);
        const std::string before = m_folder.read("state.db");
        EXPECT_EQ(errorOf(file()),
                  file().string() + " cannot be used: is a database of another program");
        EXPECT_EQ(m_folder.read("state.db"), before);
    }
}

TEST_F(AStore, OfANewerVersionIsRefusedWithTheCure) {
    { Store store(file()); }
    execute(file(), "PRAGMA user_version = 1000");
    EXPECT_EQ(
        errorOf(file()),
        file().string() +
            " cannot be used: is of version 1000 and this program knows versions up to 1; use "
            "the newer program, or another state");
}

TEST_F(AStore, ThatIsDamagedIsRefused) {
    {
        Store store(file());
        Description description = everything();
        for (int i = 0; i < 2000; ++i) {
            description.profiles[0].mappings.add({"app", "partner", "user-" + std::to_string(i)});
        }
        store.replace(description, {});
    }
    // What lies in the middle becomes noise.
    const auto size = fs::file_size(file());
    ASSERT_GT(size, 40000U);
    std::fstream damaged(file(), std::ios::in | std::ios::out | std::ios::binary);
    damaged.seekp(static_cast<std::streamoff>(size / 2));
    damaged << std::string(8192, '\x5a');
    damaged.close();
    const std::string error = errorOf(file());
    EXPECT_THAT(error, HasSubstr(file().string() + " cannot be used: "));
    EXPECT_THAT(error, ::testing::AnyOf(HasSubstr("malformed"), HasSubstr("is damaged")));
}

TEST_F(AStore, InAFolderThatIsNotThereIsRefused) {
    EXPECT_EQ(errorOf(m_folder.path("none/state.db")),
              m_folder.path("none/state.db") + ": No such file or directory");
}

TEST_F(AStore, BehindALinkIsRefused) {
    fs::create_symlink(m_folder.path("elsewhere"), file());
    EXPECT_THAT(errorOf(file()), HasSubstr("Too many levels of symbolic links"));
    EXPECT_FALSE(fs::exists(m_folder.path("elsewhere")));
}

/// A folder in which nothing can be changed any more, with a store in it.
class AReadOnlyStore : public AStore {
  protected:
    void SetUp() override {
        if (!m_sealed.obstacle().empty()) {
            GTEST_SKIP() << "no file system can be mounted here: " << m_sealed.obstacle();
        }
        Store(place()).replace(everything(), {{"made", "1"}});
    }

    /// In a folder of its own.
    fs::path place() const { return m_place / "state.db"; }

    const fs::path m_place = [this] {
        fs::create_directory(m_folder.path("sealed"));
        return fs::path(m_folder.path("sealed"));
    }();
    ReadOnlyFolder m_sealed{m_place};
};

TEST_F(AReadOnlyStore, IsRefusedWithTheReasonAndLeftAsItIs) {
    const std::string before = m_folder.read("sealed/state.db");
    m_sealed.seal();
    EXPECT_THAT(errorOf(place()), ::testing::AnyOf(place().string() + ": Read-only file system",
                                                   place().string() + ": Permission denied"));
    EXPECT_THAT(errorOf(m_place / "another.db"), HasSubstr((m_place / "another.db").string()));
    EXPECT_EQ(m_folder.read("sealed/state.db"), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_place), {}), 1);
}

/// Takes the right to write from every database that is opened from now on, while it lives, and when it is told.
class WriteSwitch {
  public:
    WriteSwitch() {
        s_opened = nullptr;
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(&onOpen));
    }
    ~WriteSwitch() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(&onOpen)); }
    WriteSwitch(const WriteSwitch&) = delete;
    WriteSwitch& operator=(const WriteSwitch&) = delete;

    static void set(bool mayWrite) {
        ASSERT_NE(s_opened, nullptr);
        const char* sql = mayWrite ? "PRAGMA query_only = OFF" : "PRAGMA query_only = ON";
        ASSERT_EQ(sqlite3_exec(s_opened, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    }

  private:
    static int onOpen(sqlite3* database, char** /*error*/, const void* /*functions*/) {
        s_opened = database;
        return SQLITE_OK;
    }
    static inline sqlite3* s_opened = nullptr;
};

TEST_F(AStore, ThatBecomesReadOnlyAnswersAndKeepsWhatItHas) {
    const WriteSwitch writing;
    Store store(file());
    store.replace(everything(), {{"setting", "before"}});
    account::Account account(store.load(), &store);
    const std::string before = account::toJson(account.description());
    WriteSwitch::set(false);
    const std::function<void()> changes[] = {
        [&] {
            account.addMapping({"app", "partner", "new"});
        },
        [&] {
            account.removeMapping({"a", "b", ""});
        },
        [&] { account.signIn("robin" + kHostile); },
        [&] { account.signOut(); },
        [&] { account.accessToken(kHostile + "id", kHostile + "s", 999999999999999); },
        [&] { account.endTerms(account::PopupState::Completed, kHostile); },
        [&] { store.replace(Description(), {}); },
        [&] { store.setValue("setting", "after"); },
    };
    for (const auto& change : changes) {
        try {
            change();
            ADD_FAILURE() << "change " << &change - changes << " was taken";
        } catch (const StoreError& error) {
            EXPECT_EQ(std::string(error.what()), "attempt to write a readonly database");
        }
        EXPECT_EQ(account::toJson(account.description()), before) << &change - changes;
    }
    EXPECT_EQ(account::toJson(store.load()), before);
    EXPECT_EQ(store.value("setting"), "before");
    WriteSwitch::set(true);
    EXPECT_EQ(account.addMapping({"app", "partner", "new"}), account::Outcome::Ok);
    EXPECT_EQ(account::toJson(Store(file()).load()), account::toJson(account.description()));
}

/// A file that may grow no more is what a full disk is for a program.
TEST_F(AStore, ThatHasNoRoomKeepsWhatItHas) {
    Store store(file());
    store.replace(everything(), {});
    account::Account account(store.load(), &store);
    bool refused = false;
    {
        const FileLimit limit(fs::file_size(file().string() + "-wal") + 20000);
        for (int i = 0; i < 5000 && !refused; ++i) {
            try {
                account.addMapping({"app", "partner", std::string(100, 'x') + std::to_string(i)});
            } catch (const StoreError& error) {
                EXPECT_THAT(error.what(),
                            ::testing::AnyOf(HasSubstr("disk I/O error"), HasSubstr("full")));
                refused = true;
            }
        }
    }
    EXPECT_TRUE(refused);
    EXPECT_EQ(account::toJson(store.load()), account::toJson(account.description()));
    EXPECT_EQ(account.addMapping({"app", "partner", "room"}), account::Outcome::Ok);
    EXPECT_EQ(account::toJson(Store(file()).load()), account::toJson(account.description()));
    EXPECT_EQ(integrity(file()), "ok");
}

}  // namespace
