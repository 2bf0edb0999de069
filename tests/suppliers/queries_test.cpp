// The client library's calls that answer at once: what they write, and who owns it.

#include <sso_api.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>

#include "at_once.h"
#include "operations.h"
#include "promise.h"

namespace suppliers {
namespace {

/// What the plug-in reserves for the login record, and where its second text starts.
constexpr std::size_t kRecordSize = 1408;
constexpr std::size_t kUid = 256;

/// A login record in a room that is too large, so that what is written behind it shows.
class Record {
  public:
    explicit Record(char filling) : m_filling(filling) { m_room.fill(filling); }

    int ask() { return sso_get_login_info(reinterpret_cast<sso_login_info*>(m_room.data())); }
    /// How far it was written.
    std::size_t written() const {
        std::size_t end = m_room.size();
        while (end > 0 && m_room[end - 1] == m_filling) {
            --end;
        }
        return end;
    }
    bool hasText(std::size_t from, std::size_t to) const {
        return std::memchr(m_room.data() + from, '\0', to - from) != nullptr;
    }
    std::string text(std::size_t from) const { return m_room.data() + from; }

  private:
    char m_filling;
    alignas(64) std::array<char, 16384> m_room;
};

/// With two fillings, one of which shows any byte.
std::size_t writtenAtMost(Record& first, Record& second) {
    return std::max(first.written(), second.written());
}

TEST(AccountRecord, FitsIntoWhatThePluginReserves) {
    promise(
        "sso_get_login_info writes at most 1,408 bytes, whatever it returns: so much the plug-in "
        "reserves on its stack");
    Record first('\x5a');
    Record second('\xa5');
    first.ask();
    second.ask();
    const std::size_t written = writtenAtMost(first, second);
    EXPECT_LE(written, kRecordSize) << "seen: " << written << " bytes";
}

TEST(AccountRecord, HasTwoTexts) {
    promise(
        "a login record has NUL-terminated texts at 0 (within 256 bytes) and at 256: they become "
        "the account's state and user id, and are read to their ends");
    Record record('\x5a');
    if (record.ask() != 0) {
        NOT_APPLICABLE("nobody is signed in: sso_get_login_info fails");
    }
    EXPECT_TRUE(record.hasText(0, kUid)) << "seen: no end of the text at 0 within 256 bytes";
    EXPECT_TRUE(record.hasText(kUid, kRecordSize)) << "seen: no end of the text at 256";
}

struct TextQuery {
    const char* name;
    const char* test;
    int (*ask)(char** text);

    friend std::ostream& operator<<(std::ostream& out, const TextQuery& query) {
        return out << query.name;
    }
};

class AccountText : public ::testing::TestWithParam<TextQuery> {
  protected:
    int ask(char** text) const { return GetParam().ask(text); }
    void promised(const std::string& sentence) const {
        promise(std::string(GetParam().name) + " " + sentence);
    }
};

TEST_P(AccountText, IsTheCallersOnSuccess) {
    promised(
        "gives a text that is the caller's own, to be freed with free: the plug-in does so after "
        "each query");
    char* first = nullptr;
    if (ask(&first) != 0) {
        NOT_APPLICABLE("nobody is signed in: it fails");
    }
    ASSERT_NE(first, nullptr) << "seen: success, and no text";
    const std::string text = first;
    char* second = nullptr;
    ASSERT_EQ(ask(&second), 0) << "seen: it fails when asked again";
    ASSERT_NE(second, nullptr) << "seen: success, and no text";
    EXPECT_NE(first, second) << "seen: twice the same memory";
    if (first != second) {
        std::memset(first, 'x', text.size());
        EXPECT_EQ(second, text) << "seen: one caller's text changes the other's";
        std::free(second);
    }
    std::free(first);  // ends the process if it is nobody's
    char* third = nullptr;
    ASSERT_EQ(ask(&third), 0) << "seen: it fails when asked a third time";
    EXPECT_EQ(third, text) << "seen: another text once the first was freed";
    std::free(third);
}

TEST_P(AccountText, IsNullOrTheCallersOnFailure) {
    promised(
        "leaves null, or a text that is the caller's, when it fails: the plug-in frees what it "
        "finds there");
    static char* text = nullptr;  // reachable, if it is not freed
    if (ask(&text) == 0) {
        NOT_APPLICABLE("somebody is signed in: it succeeds");
    }
    if (text != nullptr) {
        std::printf("seen: it fails and leaves %p, which free does not take\n",
                    static_cast<void*>(text));
        std::fflush(stdout);
        std::free(text);  // ends the process if it is nobody's
    }
}

INSTANTIATE_TEST_SUITE_P(, AccountText,
                         ::testing::Values(TextQuery{"sso_get_guid", "Guid", sso_get_guid},
                                           TextQuery{"sso_get_auth_token", "AuthToken",
                                                     sso_get_auth_token}),
                         [](const auto& info) { return info.param.test; });

struct StateQuery {
    const char* name;
    const char* test;
    int (*ask)(int* state);

    friend std::ostream& operator<<(std::ostream& out, const StateQuery& query) {
        return out << query.name;
    }
};

class AccountStateQuery : public ::testing::TestWithParam<StateQuery> {};

TEST_P(AccountStateQuery, WritesOneInt) {
    promise(std::string(GetParam().name) +
            " writes no more than one int, also when it fails: the plug-in keeps no more for it");
    for (const int filling : {0x5a5a5a5a, 0x25252525}) {
        std::array<int, 64> room{};
        room.fill(filling);
        room[32] = 0;
        GetParam().ask(&room[32]);
        room[32] = filling;
        for (const int other : room) {
            EXPECT_EQ(other, filling) << "seen: an int beside it has changed";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    , AccountStateQuery,
    ::testing::Values(StateQuery{"sso_get_login_state", "LoginState", sso_get_login_state},
                      StateQuery{"sso_get_term_state", "KnownTerms",
                                 [](int* state) { return sso_get_term_state("terms-1", state); }},
                      StateQuery{"sso_get_term_state", "UnknownTerms",
                                 [](int* state) { return sso_get_term_state("no-such", state); }}),
    [](const auto& info) { return info.param.test; });

TEST(AccountQueries, MayBeAskedOnManyThreadsAtOnce) {
    promise(
        "queries may be asked on many threads at once, while operations start and end: each page "
        "has a thread of its own, and the plug-in takes no lock");
    const auto startable = startableOperations();
    std::atomic<int> differing{0};
    const auto everything = [] {
        Record record('\0');
        std::string all = std::to_string(record.ask());
        all += record.hasText(0, kUid) && record.hasText(kUid, kRecordSize)
                   ? record.text(0) + record.text(kUid)
                   : "";
        for (const auto ask : {sso_get_guid, sso_get_auth_token}) {
            char* text = nullptr;
            const int result = ask(&text);
            all += std::to_string(result);
            if (result == 0 && text != nullptr) {
                all += text;
                std::free(text);
            }
        }
        return all;
    };
    const std::string expected = everything();
    atOnce(8, [&](int n) {
        for (int round = 0; round < 100; ++round) {
            if (n == 0 && round % 10 == 0) {
                for (const Operation& operation : startable) {
                    if (!operation.needsPerson) {  // it might sign another one in
                        operation.start();
                    }
                }
            }
            differing += everything() == expected ? 0 : 1;
        }
    });
    sso_give_proxy();
    EXPECT_EQ(differing, 0) << "seen: " << differing << " of 800 answers differ";
}

}  // namespace
}  // namespace suppliers
