#include "embedder/application_manifest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "privileges.h"
#include "temporary_folder.h"

namespace {

using embedder::ApplicationManifest;
using embedder::ManifestError;
using embedder::privilegeIdentifier;
using embedder::readManifest;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class AManifest : public ::testing::Test {
  protected:
    ApplicationManifest read(const std::string& content) {
        return readManifest(m_folder.write("manifest.json", content));
    }

    /// What is wrong with a manifest; "" when nothing is.
    std::string errorOf(const std::string& content) {
        return errorOfFile(m_folder.write("manifest.json", content));
    }

    static std::string errorOfFile(const std::string& path) {
        try {
            readManifest(path);
        } catch (const ManifestError& error) {
            return error.what();
        }
        return "";
    }

    support::TemporaryFolder m_folder;
};

TEST_F(AManifest, NamesTheApplicationItsStartPageAndItsPrivileges) {
    const ApplicationManifest manifest =
        read(R"({"name":"Demo","start":"index.html","privileges":["sso.partner","platform"]})");
    EXPECT_EQ(manifest.name, "Demo");
    EXPECT_EQ(manifest.start, "index.html");
    EXPECT_THAT(manifest.privileges, ElementsAre(kPartner, kPlatform));
}

TEST_F(AManifest, MayHaveNoPrivileges) {
    const ApplicationManifest manifest =
        read("\n{\"privileges\": [], \"start\": \"a/b.html\",\n \"name\": \"\xc3\xa4\"}\n");
    EXPECT_EQ(manifest.name, "\xc3\xa4");
    EXPECT_EQ(manifest.start, "a/b.html");
    EXPECT_THAT(manifest.privileges, IsEmpty());
}

TEST_F(AManifest, MayNameAPrivilegeTwiceAndByItsIdentifier) {
    const std::string foreign = "http://other.example/privilege/x";
    EXPECT_THAT(read(R"({"name":"A","start":"i","privileges":["partner","sso.partner",")" +
                     kPartner + "\",\"" + foreign + "\"]}")
                    .privileges,
                ::testing::UnorderedElementsAre(kPartner, foreign));
}

TEST_F(AManifest, MayStartWithAnyFileOfItsFolder) {
    for (const char* start : {"index.html", "./index.html", "a/b/c.html", "a/../b.html",
                              "..index.html", "a b.html", "a..b", "index.html?x=1"}) {
        SCOPED_TRACE(start);
        EXPECT_EQ(
            read(std::string(R"({"name":"A","privileges":[],"start":")") + start + "\"}").start,
            start);
    }
}

TEST_F(AManifest, ThatIsBadIsToldAllItsMistakes) {
    struct Row {
        const char* content;
        const char* mistakes;  // without the file, in one line
    };
    const Row rows[] = {
        {"", "1:1: is empty"},
        {"{\n\"name\": \"A\", // what\n\"start\": \"i\"}", "2:14: is not JSON: it has no comments"},
        {R"({"name":"A","start":"i",})", "1:24: is not JSON: a comma is too many"},
        {R"({"name":"A","start":"i")", "1:24: is not JSON: it ends too early"},
        {"[]", "1: must be an object"},
        {"{}", "1: name: is missing|1: start: is missing|1: privileges: is missing"},
        {R"({"name":"A","start":"i"})", "1: privileges: is missing"},
        {R"({"name":"A","start":"i","privileges":[],"privilege":[]})",
         "1: privilege: is not known here; known are name, start, privileges"},
        {R"({"name":"A","name":"B","start":"i","privileges":[]})", "1: name: is there twice"},
        {R"({"name":"","start":1,"privileges":"partner"})",
         "1: name: must be a text that is not empty|1: start: must be a text|1: privileges: must "
         "be an array"},
        {R"({"name":"A","start":"i\u0000.html","privileges":[]})",
         "1: start: must be a text without \\u0000"},
        {R"({"name":"A\u0000","start":"i","privileges":["partner\u0000"]})",
         "1: name: must be a text without \\u0000|1: privileges[0]: must be a text without "
         "\\u0000"},
        {R"({"name":"A","start":"/index.html","privileges":[]})",
         "1: start: must name a file inside the application's folder"},
        {R"({"name":"A","start":"../index.html","privileges":[]})",
         "1: start: must name a file inside the application's folder"},
        {R"({"name":"A","start":"a/../../index.html","privileges":[]})",
         "1: start: must name a file inside the application's folder"},
        {R"({"name":"A","start":"..","privileges":[]})",
         "1: start: must name a file inside the application's folder"},
        {R"({"name":"A","start":".","privileges":[]})", "1: start: must name a file"},
        {R"({"name":"A","start":"./","privileges":[]})", "1: start: must name a file"},
        {R"({"name":"A","start":"folder/","privileges":[]})", "1: start: must name a file"},
        {R"({"name":"A","start":"a/..","privileges":[]})", "1: start: must name a file"},
        {R"({"name":"A","start":"i","privileges":[1,"root","partner"]})",
         "1: privileges[0]: must be a text|1: privileges[1]: unknown privilege \"root\"; known are "
         "sso.partner, sso.platform and sso.public, also without sso., and full identifiers "
         "(URLs)"},
    };
    const std::string begin = m_folder.path("manifest.json") + ":";
    for (const Row& row : rows) {
        SCOPED_TRACE(row.content);
        std::string expected = begin + row.mistakes;
        for (std::size_t bar = 0; (bar = expected.find('|')) != std::string::npos;) {
            expected.replace(bar, 1, "\n" + begin);
        }
        EXPECT_EQ(errorOf(row.content), expected);
    }
}

TEST_F(AManifest, HasTextsOfALimitedLength) {
    const std::string longest(1024, 'x');
    const auto with = [](const std::string& name, const std::string& privilege) {
        return R"({"name":")" + name + R"(","start":"i","privileges":[")" + privilege + "\"]}";
    };
    EXPECT_EQ(errorOf(with(longest, "x://" + longest.substr(4))), "");
    const std::string begin = m_folder.path("manifest.json") + ":1: ";
    EXPECT_EQ(errorOf(with(longest + "x", "x://" + longest)),
              begin + "name: must be a text of at most 1024 bytes\n" + begin +
                  "privileges[0]: must be a text of at most 1024 bytes");
    EXPECT_THAT(errorOf(with("A", longest)), HasSubstr("\"" + longest.substr(0, 64) + "...\""));
}

TEST_F(AManifest, OfAnyDepthDoesNoHarm) {
    EXPECT_EQ(errorOf(std::string(1000000, '[')),
              m_folder.path("manifest.json") + ":1: is nested too deeply");
}

TEST_F(AManifest, ThatIsNoFileIsRefused) {
    EXPECT_EQ(errorOfFile(m_folder.path("missing.json")),
              m_folder.path("missing.json") +
                  ": no such file; the least that it holds is { \"name\": \"My application\", "
                  "\"start\": \"index.html\", \"privileges\": [\"sso.partner\"] }");
    EXPECT_EQ(errorOfFile(m_folder.path("")), m_folder.path("") + ": is not a file");
    EXPECT_EQ(errorOfFile("/dev/null"), "/dev/null: is not a file");
    EXPECT_THAT(errorOfFile(""), HasSubstr("no such file"));
}

TEST(APrivilege, HasAnIdentifierBelowTheOrigin) {
    EXPECT_EQ(privilegeIdentifier("partner"), kPartner);
    EXPECT_EQ(privilegeIdentifier("sso.partner"), kPartner);
    EXPECT_EQ(privilegeIdentifier("platform"), kPlatform);
    EXPECT_EQ(privilegeIdentifier("sso.platform"), kPlatform);
    EXPECT_EQ(privilegeIdentifier("public"), kPublic);
    EXPECT_EQ(privilegeIdentifier("sso.public"), kPublic);
}

TEST(APrivilege, IsTakenAsItIsWhenItIsAnIdentifier) {
    for (const char* identifier : {"http://other.example/privilege/sso.partner", "x://", "://"}) {
        EXPECT_EQ(privilegeIdentifier(identifier), identifier);
    }
}

TEST(APrivilege, ThatIsUnknownIsRefusedByName) {
    for (const char* name :
         {"root", "Partner", "sso.", "sso.root", "partner ", "sso.sso.partner", "http:/partner"}) {
        SCOPED_TRACE(name);
        try {
            privilegeIdentifier(name);
            FAIL() << "it was taken";
        } catch (const ManifestError& error) {
            EXPECT_THAT(error.what(), AllOf(HasSubstr(name), Not(HasSubstr("\n"))));
        }
    }
    EXPECT_THROW(privilegeIdentifier(""), ManifestError);
}

}  // namespace
