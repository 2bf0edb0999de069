// The plug-in's bill of materials: well formed as SPDX 2.3 asks, and true.

#include <gmock/gmock.h>

#include <algorithm>
#include <boost/version.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "module_path.h"
#include "process.h"
#include "temporary_folder.h"

namespace {

using nlohmann::json;
using support::builtPath;
using Texts = std::set<std::string>;

/// The output of a program that has to succeed.
std::string outputOf(const std::vector<std::string>& command,
                     const support::ProcessOptions& options = {}) {
    const support::ProcessResult result = support::runProcess(command, options);
    EXPECT_EQ(result.exitCode, 0) << command.front() << ": " << result.errors;
    return result.output;
}

/// As coreutils count it, apart from who wrote the document.
std::string hashOf(const std::string& algorithm, const std::string& path) {
    return outputOf({"/usr/bin/" + algorithm + "sum", path})
        .substr(0, algorithm == "sha1" ? 40 : 64);
}

json parsed(const std::string& path) {
    std::ifstream file(path);
    return json::parse(file);
}

/// The element with that identifier.
json elementOf(const json& document, const std::string& id) {
    for (const char* list : {"packages", "files"}) {
        for (const json& element : document.at(list)) {
            if (element.at("SPDXID") == id) return element;
        }
    }
    ADD_FAILURE() << "there is no " << id;
    return {};
}

/// What relations of that type lead to, by name, with its version.
std::map<std::string, std::string> related(const json& document, const std::string& from,
                                           const std::string& type, bool isBackwards = false) {
    std::map<std::string, std::string> found;
    for (const json& relation : document.at("relationships")) {
        const json& here = relation.at(isBackwards ? "relatedSpdxElement" : "spdxElementId");
        const json& there = relation.at(isBackwards ? "spdxElementId" : "relatedSpdxElement");
        if (here != from || relation.at("relationshipType") != type) continue;
        const json element = elementOf(document, there);
        found[element.value("name", element.value("fileName", ""))] =
            element.value("versionInfo", "");
    }
    return found;
}

std::string checksum(const json& file, const std::string& algorithm) {
    for (const json& entry : file.at("checksums")) {
        if (entry.at("algorithm") == algorithm) return entry.at("checksumValue");
    }
    ADD_FAILURE() << file << " has no " << algorithm;
    return {};
}

const std::string kModule = "SPDXRef-Package-libsso";

class TheBillOfMaterials : public ::testing::Test {
  protected:
    const json m_document = parsed(builtPath("libsso.spdx.json"));
};

TEST_F(TheBillOfMaterials, HasWhatSpdxAsksFor) {
    EXPECT_EQ(m_document.at("spdxVersion"), "SPDX-2.3");
    EXPECT_EQ(m_document.at("dataLicense"), "CC0-1.0");
    EXPECT_EQ(m_document.at("SPDXID"), "SPDXRef-DOCUMENT");
    EXPECT_EQ(m_document.at("name"), "libsso-" SSO_VERSION);
    EXPECT_THAT(m_document.at("documentNamespace").get<std::string>(),
                ::testing::MatchesRegex("https://[^ #]+"));
    EXPECT_THAT(m_document.at("creationInfo").at("created").get<std::string>(),
                ::testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z"));
    EXPECT_THAT(m_document.at("creationInfo").at("creators").at(0).get<std::string>(),
                ::testing::StartsWith("Tool: "));
    for (const json& package : m_document.at("packages")) {
        SCOPED_TRACE(package.dump());
        EXPECT_NE(package.at("name"), "");
        for (const char* key :
             {"downloadLocation", "licenseConcluded", "licenseDeclared", "copyrightText"}) {
            EXPECT_EQ(package.at(key), "NOASSERTION") << key;
        }
        EXPECT_EQ(package.count("packageVerificationCode"),
                  package.at("filesAnalyzed").get<bool>() ? 1U : 0U);
    }
    for (const json& file : m_document.at("files")) {
        SCOPED_TRACE(file.dump());
        EXPECT_EQ(file.at("fileName").get<std::string>().rfind("./", 0), 0U);
        EXPECT_EQ(file.at("licenseConcluded"), "NOASSERTION");
        EXPECT_EQ(file.at("licenseInfoInFiles"), json::array({"NOASSERTION"}));
        EXPECT_EQ(file.at("copyrightText"), "NOASSERTION");
    }
}

TEST_F(TheBillOfMaterials, RelatesWhatIsThere) {
    Texts ids{"SPDXRef-DOCUMENT"};
    for (const char* list : {"packages", "files"}) {
        for (const json& element : m_document.at(list)) {
            const std::string id = element.at("SPDXID");
            EXPECT_THAT(id, ::testing::MatchesRegex("SPDXRef-[A-Za-z0-9.-]+"));
            EXPECT_TRUE(ids.insert(id).second) << id << " is there twice";
        }
    }
    Texts related;
    for (const json& relation : m_document.at("relationships")) {
        for (const char* end : {"spdxElementId", "relatedSpdxElement"}) {
            EXPECT_EQ(ids.count(relation.at(end)), 1U) << relation;
            related.insert(relation.at(end).get<std::string>());
        }
    }
    EXPECT_EQ(related, ids) << "something is related to nothing";
}

TEST_F(TheBillOfMaterials, HasTheHashesOfTheFiles) {
    EXPECT_GT(m_document.at("files").size(), 10U);
    for (const json& file : m_document.at("files")) {
        const std::string name = file.at("fileName").get<std::string>().substr(2);
        SCOPED_TRACE(name);
        const std::string path =
            name == "libsso.so" ? builtPath("lib/libsso.so") : SSO_SOURCE_DIR "/" + name;
        EXPECT_EQ(checksum(file, "SHA1"), hashOf("sha1", path));
        EXPECT_EQ(checksum(file, "SHA256"), hashOf("sha256", path));
    }
}

TEST_F(TheBillOfMaterials, SumsUpTheFilesOfEachPackage) {
    for (const char* id : {"SPDXRef-Package-libsso", "SPDXRef-Package-sources"}) {
        Texts hashes;  // in order
        for (const json& relation : m_document.at("relationships")) {
            if (relation.at("spdxElementId") != id ||
                relation.at("relationshipType") != "CONTAINS") {
                continue;
            }
            hashes.insert(
                checksum(elementOf(m_document, relation.at("relatedSpdxElement")), "SHA1"));
        }
        const support::TemporaryFolder folder;
        std::string all;
        for (const std::string& hash : hashes) all += hash;
        EXPECT_EQ(elementOf(m_document, id)
                      .at("packageVerificationCode")
                      .at("packageVerificationCodeValue"),
                  hashOf("sha1", folder.write("all", all)))
            << id;
    }
}

TEST_F(TheBillOfMaterials, ListsEverySource) {
    Texts there;
    for (const char* folder : {"src", "extension", "trace"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 SSO_SOURCE_DIR "/" + std::string(folder))) {
            if (!entry.is_regular_file() || entry.path().filename() == "CMakeLists.txt") continue;
            there.insert("./" + entry.path().lexically_relative(SSO_SOURCE_DIR).string());
        }
    }
    Texts listed;
    for (const auto& [name, version] : related(m_document, "SPDXRef-Package-sources", "CONTAINS")) {
        listed.insert(name);
    }
    EXPECT_EQ(listed, there);
}

TEST_F(TheBillOfMaterials, NamesWhatTheModuleIsMadeWith) {
    using Versions = std::map<std::string, std::string>;
    EXPECT_EQ(related(m_document, "SPDXRef-DOCUMENT", "DESCRIBES"),
              (Versions{{"libsso", SSO_VERSION}}));
    EXPECT_EQ(related(m_document, "SPDXRef-File-libsso.so", "GENERATED_FROM"),
              (Versions{{"sources of libsso", SSO_VERSION}}));
    const std::string boost = std::to_string(BOOST_VERSION / 100000) + '.' +
                              std::to_string(BOOST_VERSION / 100 % 1000) + '.' +
                              std::to_string(BOOST_VERSION % 100);
    EXPECT_EQ(related(m_document, kModule, "BUILD_DEPENDENCY_OF", true),
              (Versions{{"Boost", boost}}));
    const Versions compiler = related(m_document, kModule, "BUILD_TOOL_OF", true);
    ASSERT_EQ(compiler.size(), 1U);
    EXPECT_EQ(compiler.begin()->second, SSO_COMPILER_VERSION);
    EXPECT_EQ(related(m_document, kModule, "STATIC_LINK"),
              (Versions{{"pepper", SSO_VERSION}, {"pepper-runtime", SSO_VERSION}}));
}

TEST_F(TheBillOfMaterials, NamesWhatTheModuleNeeds) {
    const std::string dynamic = outputOf({SSO_READELF, "-d", builtPath("lib/libsso.so")});
    Texts needed;
    const std::regex line(R"(\(NEEDED\).*\[(.*)\])");
    for (std::sregex_iterator at(dynamic.begin(), dynamic.end(), line), end; at != end; ++at) {
        needed.insert((*at)[1]);
    }
    for (const char* supplier : {"dlog", "ht", "sso-api", "vconf"}) {
        std::string soname = std::string("lib") + supplier + ".so";
        std::replace(soname.begin(), soname.end(), '-', '_');
        EXPECT_EQ(needed.erase(soname), 1U) << soname;
        needed.insert(supplier);
    }
    Texts named;
    for (const auto& [name, version] : related(m_document, kModule, "DYNAMIC_LINK")) {
        named.insert(name);
    }
    EXPECT_EQ(named, needed);
}

class AnInstallation : public TheBillOfMaterials {
  protected:
    /// Of the plug-in alone, with further options of cmake.
    ///
    /// @return its bill of materials.
    json install(const std::vector<std::string>& more,
                 const support::ProcessOptions& options = {}) {
        std::vector<std::string> command = {SSO_CMAKE, "--install", SSO_BINARY_DIR,   "--component",
                                            "plugin",  "--prefix",  m_folder.path("")};
        command.insert(command.end(), more.begin(), more.end());
        outputOf(command, options);
        return parsed(m_folder.path("share/sso-plugin/libsso.spdx.json"));
    }
    std::string moduleHash() const { return hashOf("sha256", m_folder.path("lib/libsso.so")); }

    static std::string listedHash(const json& document) {
        return checksum(elementOf(document, "SPDXRef-File-libsso.so"), "SHA256");
    }

    const support::TemporaryFolder m_folder;
};

TEST_F(AnInstallation, ListsTheModuleAsItIsThere) {
    const json installed = install({});
    EXPECT_EQ(listedHash(installed), moduleHash());
    EXPECT_EQ(listedHash(installed), listedHash(m_document));
}

TEST_F(AnInstallation, ThatStripsListsTheStrippedModule) {
    const json installed = install({"--strip"});
    EXPECT_EQ(listedHash(installed), moduleHash());
    EXPECT_NE(listedHash(installed), listedHash(m_document));
}

TEST_F(AnInstallation, IsTheSameAgainOnTheSameDay) {
    support::ProcessOptions options;
    options.environment = {"SOURCE_DATE_EPOCH=1700000000"};
    const json first = install({}, options);
    EXPECT_EQ(first.at("creationInfo").at("created"), "2023-11-14T22:13:20Z");
    EXPECT_EQ(install({}, options), first);
}

}  // namespace
