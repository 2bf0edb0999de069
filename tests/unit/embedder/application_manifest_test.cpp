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

TEST_F(AManifest, NeedsNoPrivilegesAndMayHaveOtherKeys) {
    const ApplicationManifest manifest =
        read("\n{\"other\": [1, {}], \"start\": \"a/b.html\",\n \"name\": \"\xc3\xa4\"}\n");
    EXPECT_EQ(manifest.name, "\xc3\xa4");
    EXPECT_EQ(manifest.start, "a/b.html");
    EXPECT_THAT(manifest.privileges, IsEmpty());
    EXPECT_THAT(read(R"({"name":"A","start":"i","privileges":[]})").privileges, IsEmpty());
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
        EXPECT_EQ(read(std::string(R"({"name":"A","start":")") + start + "\"}").start, start);
    }
}

TEST_F(AManifest, ThatIsBadIsRefusedWithFileAndKey) {
    struct Row {
        const char* content;
        const char* word;
    };
    const Row rows[] = {
        {"", "JSON"},
        {"nonsense", "JSON"},
        {R"({"name":"A","start":"i",})", "JSON"},
        {R"({"name":"A","start":"i")", "JSON"},
        {R"({"name":"A","start":"i"} more)", "JSON"},
        {"{\"name\":\"\xff\",\"start\":\"i\"}", "JSON"},
        {R"({"name":"A","start":"i","number":1e999})", "JSON"},
        {"[]", "object"},
        {"null", "object"},
        {R"("text")", "object"},
        {R"({"start":"i"})", "\"name\""},
        {R"({"name":"","start":"i"})", "\"name\""},
        {R"({"name":1,"start":"i"})", "\"name\""},
        {R"({"name":null,"start":"i"})", "\"name\""},
        {R"({"Name":"A","start":"i"})", "\"name\""},
        {R"({"name":"A"})", "\"start\""},
        {R"({"name":"A","start":""})", "\"start\""},
        {R"({"name":"A","start":["i"]})", "\"start\""},
        {R"({"name":"A","start":"/index.html"})", "\"start\""},
        {R"({"name":"A","start":"../index.html"})", "\"start\""},
        {R"({"name":"A","start":"a/../../index.html"})", "\"start\""},
        {R"({"name":"A","start":".."})", "\"start\""},
        {R"({"name":"A","start":"."})", "\"start\""},
        {R"({"name":"A","start":"./"})", "\"start\""},
        {R"({"name":"A","start":"folder/"})", "\"start\""},
        {R"({"name":"A","start":"a/.."})", "\"start\""},
        {R"({"name":"A","start":"i","privileges":null})", "\"privileges\""},
        {R"({"name":"A","start":"i","privileges":"partner"})", "\"privileges\""},
        {R"({"name":"A","start":"i","privileges":{"partner":true}})", "\"privileges\""},
        {R"({"name":"A","start":"i","privileges":[1]})", "\"privileges\""},
        {R"({"name":"A","start":"i","privileges":["partner",null]})", "\"privileges\""},
        {R"({"name":"A","start":"i","privileges":["root"]})", "\"privileges\""},
        {R"({"name":"A","start":"i","privileges":["partner",""]})", "\"privileges\""},
        {R"({"name":"A","start":"i","privileges":["par\ntner"]})", "\"privileges\""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.content);
        EXPECT_THAT(errorOf(row.content), AllOf(HasSubstr(m_folder.path("manifest.json")),
                                                HasSubstr(row.word), Not(HasSubstr("\n"))));
    }
}

TEST_F(AManifest, ThatIsNoJsonIsRefusedWithTheLine) {
    EXPECT_THAT(errorOf("{\n\"name\": \"A\",\n\"start\": i\n}"), HasSubstr("line 3"));
    EXPECT_THAT(errorOf("x"), HasSubstr("line 1"));
}

TEST_F(AManifest, OfAnyDepthDoesNoHarm) {
    EXPECT_THAT(errorOf(std::string(1000000, '[')), HasSubstr("JSON"));
    EXPECT_EQ(errorOf(R"({"name":"A","start":"i","deep":)" + std::string(100000, '[') +
                      std::string(100000, ']') + "}"),
              "");
}

TEST_F(AManifest, ThatIsNoFileIsRefused) {
    EXPECT_THAT(errorOfFile(m_folder.path("missing.json")), HasSubstr("missing.json"));
    EXPECT_THAT(errorOfFile(m_folder.path("")), Not(IsEmpty())) << "a folder";
    EXPECT_THAT(errorOfFile("/dev/null"), HasSubstr("/dev/null"));
    EXPECT_THAT(errorOfFile(""), Not(IsEmpty()));
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
