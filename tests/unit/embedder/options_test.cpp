// The options that all embedding programs have, and what they prepare.

#include "embedder/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "embedder/application_manifest.h"
#include "embedder/environment.h"
#include "privileges.h"
#include "temporary_folder.h"

namespace {

using embedder::Options;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// A command line of a program that has no options of its own.
class TheCommonOptions : public ::testing::Test {
  protected:
    std::optional<int> parse(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "/path/of/program");
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const auto end =
            embedder::parseCommandLine(m_app, static_cast<int>(arguments.size()), arguments.data());
        m_output = ::testing::internal::GetCapturedStdout();
        m_errors = ::testing::internal::GetCapturedStderr();
        return end;
    }

    Options read(const std::vector<const char*>& arguments) {
        EXPECT_EQ(parse(arguments), std::nullopt) << m_errors;
        return m_common.read();
    }

    std::string errorOf(const std::vector<const char*>& arguments) {
        try {
            read(arguments);
        } catch (const embedder::InputError& error) {
            return error.what();
        }
        return "";
    }

    CLI::App m_app{"A program.", "program"};
    embedder::CommonOptions m_common{m_app, "What becomes of a manifest"};
    std::string m_output;
    std::string m_errors;
    support::TemporaryFolder m_folder;
};

TEST_F(TheCommonOptions, GrantNothingByThemselves) {
    const Options options = read({});
    EXPECT_THAT(options.grants, IsEmpty());
    EXPECT_EQ(options.manifest, "");
    EXPECT_EQ(options.account, "");
    EXPECT_FALSE(options.log);
}

TEST_F(TheCommonOptions, HaveThePluginBesideTheProgram) {
    const std::filesystem::path module = read({}).module;
    EXPECT_TRUE(module.is_absolute());
    EXPECT_EQ(module, module.lexically_normal());
    EXPECT_EQ(module, embedder::programFolder().parent_path() / "lib" / "libsso.so");
}

TEST_F(TheCommonOptions, AreReadAsGiven) {
    const std::string account = m_folder.write("account.json", "{}");
    const Options options =
        read({"--module", "other.so", "--grant", "partner", "--grant", "sso.public", "--grant",
              "x://y", "--manifest", "m.json", "--account", account.c_str(), "--log"});
    EXPECT_EQ(options.module, "other.so");
    EXPECT_THAT(options.grants, ElementsAre(kPartner, kPublic, "x://y"));
    EXPECT_EQ(options.manifest, "m.json");
    EXPECT_EQ(options.account, account);
    EXPECT_TRUE(options.log);
}

TEST_F(TheCommonOptions, TakeSeveralGrantsAtOnce) {
    EXPECT_THAT(read({"--grant", "partner,sso.public", "--grant", "x://y"}).grants,
                ElementsAre(kPartner, kPublic, "x://y"));
}

TEST_F(TheCommonOptions, MakeTheAccountsPathAbsolute) {
    const std::string account = m_folder.write("account.json", "{}");
    const std::string relative = std::filesystem::relative(account);
    const std::string absolute = read({"--account", relative.c_str()}).account;
    EXPECT_TRUE(std::filesystem::path(absolute).is_absolute());
    EXPECT_TRUE(std::filesystem::equivalent(absolute, account));
}

TEST_F(TheCommonOptions, RefuseAPrivilegeThatNobodyKnows) {
    EXPECT_THAT(errorOf({"--grant", "partner", "--grant", "root"}), HasSubstr("\"root\""));
}

TEST_F(TheCommonOptions, RefuseAnAccountThatIsNone) {
    EXPECT_THAT(errorOf({"--account", "/nowhere/account.json"}),
                StartsWith("/nowhere/account.json"));
    const std::string account = m_folder.write("account.json", "{\n\"signedIn\": 1}");
    EXPECT_THAT(errorOf({"--account", account.c_str()}), HasSubstr("account.json:2: signedIn: "));
}

TEST_F(TheCommonOptions, TakeTheNameOfAState) {
    EXPECT_EQ(read({}).state, "");
    EXPECT_EQ(read({"--state", "A-z_0.9"}).state, "A-z_0.9");
}

TEST_F(TheCommonOptions, RefuseWhatIsNoStatesName) {
    const std::string rule =
        ": its name must have at most 64 letters, digits, dots, dashes and underscores, and no dot "
        "first";
    for (const std::string& name : {std::string(".hidden"), std::string("a/b"),
                                    std::string("\xC3\xA9"), std::string(65, 'x')}) {
        EXPECT_EQ(errorOf({"--state", name.c_str()}), "--state " + name + rule);
    }
}

TEST_F(TheCommonOptions, TakeAStateOrAnAccountFile) {
    EXPECT_EQ(parse({"--state", "name", "--account", "file"}), embedder::kExitBadInput);
    EXPECT_EQ(m_errors, "program: --account excludes --state; --help tells more\n");
}

TEST_F(TheCommonOptions, AreExplained) {
    EXPECT_EQ(parse({"--help"}), 0);
    EXPECT_THAT(m_errors, IsEmpty());
    EXPECT_THAT(m_output, AllOf(HasSubstr("--module PATH"), HasSubstr("--grant NAME,..."),
                                HasSubstr("--manifest FILE"), HasSubstr("--account FILE"),
                                HasSubstr("--state NAME"), HasSubstr("--log"),
                                HasSubstr("What becomes of a manifest")));
}

TEST_F(TheCommonOptions, TellTheVersion) {
    EXPECT_EQ(parse({"--version"}), 0);
    EXPECT_EQ(m_output, "program " SSO_VERSION "\n");
    EXPECT_THAT(m_errors, IsEmpty());
}

TEST_F(TheCommonOptions, TellAMistakeInOneLine) {
    const std::vector<std::vector<const char*>> mistakes = {
        {"--nonsense"}, {"word"}, {"--grant"}, {"--module"}, {"--grant", "partner", "public"}};
    for (const auto& arguments : mistakes) {
        SCOPED_TRACE(arguments.back());
        EXPECT_EQ(parse(arguments), embedder::kExitBadInput);
        EXPECT_THAT(m_output, IsEmpty());
        EXPECT_THAT(m_errors, AllOf(StartsWith("program: "), EndsWith("; --help tells more\n")));
        EXPECT_EQ(m_errors.find('\n'), m_errors.size() - 1);
    }
}

/// Variables of this process; each test runs in a process of its own, or restores them.
class TheEnvironment : public ::testing::Test {
  protected:
    TheEnvironment() { clear(); }
    ~TheEnvironment() override { clear(); }

    static std::string valueOf(const char* name) {
        const char* value = std::getenv(name);
        return value == nullptr ? "(not set)" : value;
    }

    Options m_options;

  private:
    static void clear() {
        for (const char* name : {"DLOG_LEVEL", "SSO_ACCOUNT_FILE", "SSO_STATE", "SSO_BUS_ADDRESS"})
            unsetenv(name);
    }
};

TEST_F(TheEnvironment, IsSilentWithoutAnAccountByItself) {
    embedder::prepareEnvironment(m_options, {});
    EXPECT_EQ(valueOf("DLOG_LEVEL"), "silent");
    EXPECT_EQ(valueOf("SSO_ACCOUNT_FILE"), "(not set)");
}

TEST_F(TheEnvironment, KeepsWhatTheUserHasSetUnlessAnOptionSaysOtherwise) {
    setenv("DLOG_LEVEL", "error", 1);
    setenv("SSO_ACCOUNT_FILE", "/of/the/user.json", 1);
    embedder::prepareEnvironment(m_options, {});
    EXPECT_EQ(valueOf("DLOG_LEVEL"), "error");
    EXPECT_EQ(valueOf("SSO_ACCOUNT_FILE"), "/of/the/user.json");

    m_options.log = true;
    m_options.account = "/of/the/option.json";
    embedder::prepareEnvironment(m_options, {});
    EXPECT_EQ(valueOf("DLOG_LEVEL"), "detail");
    EXPECT_EQ(valueOf("SSO_ACCOUNT_FILE"), "/of/the/option.json");
}

TEST_F(TheEnvironment, NamesNoStateOfAnOuterProgram) {
    setenv("SSO_STATE", "of-another", 1);
    embedder::prepareEnvironment(m_options, {});
    EXPECT_EQ(valueOf("SSO_STATE"), "(not set)");
}

}  // namespace
