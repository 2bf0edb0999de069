// The device maker's guide: what it says the module asks of a device, and offers, is what it does.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "document.h"
#include "module_path.h"
#include "process.h"
#include "temporary_folder.h"

namespace {

using docs::Document;
using Names = std::set<std::string>;

const std::string kGuide = SSO_SOURCE_DIR "/docs/device.md";

std::string bytesOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// All that the expression's first group, or without one the whole of it, matches.
Names found(const std::string& text, const std::string& expression) {
    const std::regex regex(expression);
    Names names;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        names.insert(match->str(match->size() > 1 ? 1 : 0));
    }
    return names;
}

/// The module's dynamic symbols, one a line, as they are written in C++.
std::string symbols(const std::string& which) {
    const support::ProcessResult result = support::runProcess(
        {SSO_NM, "--dynamic", "--demangle", "--format=posix", which, support::modulePath()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return result.output;
}

/// What is in one of the two and not in the other.
void expectSame(const Names& inModule, const Names& inGuide, const std::string& what) {
    EXPECT_FALSE(inModule.empty()) << "no " << what << " found";
    for (const std::string& name : inModule) {
        EXPECT_EQ(inGuide.count(name), 1U) << "docs/device.md lacks the " << what << ' ' << name;
    }
    for (const std::string& name : inGuide) {
        EXPECT_EQ(inModule.count(name), 1U)
            << "docs/device.md still has the " << what << ' ' << name;
    }
}

Names firstCells(const docs::Table& table) {
    Names names;
    for (const std::string& row : table.rows) {
        names.insert(docs::codeOf(docs::cellsOf(row).front()));
    }
    return names;
}

class TheDeviceGuide : public ::testing::Test {
  protected:
    const Document m_guide = docs::readDocument(kGuide);

    /// Its C declarations.
    std::string declarations() const {
        std::string text;
        for (const docs::Block& block : m_guide.blocks) {
            if (block.language == "c") text += block.text;
        }
        return text;
    }
};

TEST_F(TheDeviceGuide, ListsTheFunctionsThatTheModuleTakesFromADevice) {
    const std::string undefined = symbols("--undefined-only");
    Names functions = found(undefined, R"(\b((?:sso_|vconf_|ht_|__dlog_|dlog_)\w+) [UWw])");
    Names listed = found(declarations(), R"(\b(\w+)\((?!\*))");

    // Of classes: without return type and parameters.
    const Names members = found(undefined, R"(((?:TC\w+|ht)::[~:\w]+)[^\n]* U)");
    functions.insert(members.begin(), members.end());
    for (const std::string& cell : firstCells(docs::tableOf(m_guide, "| Function |"))) {
        const Names names = found(cell, R"(((?:TC\w+|ht)::[~:\w]+)\()");
        listed.insert(names.begin(), names.end());
    }
    expectSame(functions, listed, "function");
}

TEST_F(TheDeviceGuide, DeclaresThemAsTheHeadersDo) {
    std::string source;
    for (const char* header : {"sso_api.h", "vconf.h", "dlog.h", "ht.h"}) {
        source += std::string("#include \"") + header + "\"\n";
    }
    // Declared once more: another type is an error.
    source +=
        "extern \"C\" {\n#line 1 \"declarations of docs/device.md\"\n" + declarations() + "}\n";
    const support::TemporaryFolder folder;
    std::vector<std::string> command = {SSO_COMPILER, "-std=c++17", "-fsyntax-only",
                                        folder.write("declarations.cpp", source)};
    std::istringstream folders(SSO_PLUGIN_INCLUDES);
    for (std::string include; std::getline(folders, include, ':');) {
        command.push_back("-I" + include);
    }
    const support::ProcessResult result = support::runProcess(command);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
}

/// Without comments, with one blank where there are some or a line ends.
std::string squeezed(const std::string& code) {
    const std::string bare = std::regex_replace(code, std::regex(R"(//.*|/\*[\s\S]*?\*/)"), " ");
    return std::regex_replace(bare, std::regex(R"(\s+)"), " ");
}

TEST_F(TheDeviceGuide, ShowsTheTablesAsTheHeadersHaveThem) {
    const std::string headers = squeezed(
        bytesOf(SSO_SOURCE_DIR "/trace/include/trace/location.h") +
        bytesOf(SSO_SOURCE_DIR "/platform/runtime/include/runtime/ppb_extension_system_korvane.h"));
    int shown = 0;
    for (const docs::Block& block : m_guide.blocks) {
        if (block.language != "cpp") continue;
        ++shown;
        EXPECT_THAT(headers, ::testing::HasSubstr(squeezed(block.text)));
    }
    EXPECT_EQ(shown, 2);
}

TEST_F(TheDeviceGuide, ListsTheHeadersThatThePluginIncludes) {
    Names included;
    Names own;
    for (const char* folder : {"src", "extension", "trace"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 SSO_SOURCE_DIR "/" + std::string(folder))) {
            if (!entry.is_regular_file()) continue;
            const Names names = found(bytesOf(entry.path()), "#include \"([^\"]+)\"");
            included.insert(names.begin(), names.end());
            own.insert(entry.path().filename().string());
            own.insert(entry.path().parent_path().filename().string() + '/' +
                       entry.path().filename().string());
        }
    }
    Names suppliers;
    std::set_difference(included.begin(), included.end(), own.begin(), own.end(),
                        std::inserter(suppliers, suppliers.end()));
    Names listed;
    for (const std::string& row : docs::tableOf(m_guide, "| From |").rows) {
        const Names names = found(docs::cellsOf(row).at(1), "`([^`]+)`");
        listed.insert(names.begin(), names.end());
    }
    expectSame(suppliers, listed, "header");
}

/// Names of interfaces in a file's bytes, such as "PPB_Core;1.0".
Names interfaces(const std::string& bytes, const std::string& prefix) {
    static const std::regex form(R"(\w+;[0-9]+\.[0-9]+)");
    Names names;
    for (std::size_t at = bytes.find(prefix); at != std::string::npos;
         at = bytes.find(prefix, at + 1)) {
        const std::string text(bytes.c_str() + at);
        if (std::regex_match(text, form)) names.insert(text);
    }
    return names;
}

TEST_F(TheDeviceGuide, ListsTheInterfacesThatTheModuleAsksForAndOffers) {
    const std::string module = bytesOf(support::modulePath());
    expectSame(interfaces(module, "PPB_"),
               firstCells(docs::tableOf(m_guide, "| Name | Without it |")), "interface");
    expectSame(interfaces(module, "PPP_"), found(bytesOf(kGuide), R"(`(PPP_\w+;[0-9]+\.[0-9]+)`)"),
               "offered interface");
}

TEST_F(TheDeviceGuide, ListsTheExports) {
    expectSame(found(symbols("--defined-only"), R"((?:^|\n)(.+) [A-Z] )"),
               firstCells(docs::tableOf(m_guide, "| Export |")), "export");
}

TEST_F(TheDeviceGuide, NamesTheLibrariesThatTheModuleNeeds) {
    const std::string module = bytesOf(support::modulePath());
    for (const std::string& row : docs::tableOf(m_guide, "| pkg-config |").rows) {
        const std::string library = docs::codeOf(docs::cellsOf(row).at(1));
        if (library.empty()) continue;
        // Its name stands in the table of dynamic strings.
        EXPECT_NE(module.find('\0' + library + '\0'), std::string::npos) << library;
    }
}

class ADocument : public ::testing::TestWithParam<const char*> {};

TEST_P(ADocument, LinksToWhatIsThere) {
    const std::filesystem::path path = SSO_SOURCE_DIR "/" + std::string(GetParam());
    const Document document = docs::readDocument(path);
    for (const std::string& link : document.links) {
        EXPECT_THAT(document.anchors, ::testing::Contains(link));
    }
    for (const std::string& link : found(bytesOf(path), R"(\]\(([^):#]+(?:#[^)]*)?)\))")) {
        SCOPED_TRACE(link);
        const std::size_t hash = std::min(link.find('#'), link.size());
        const std::filesystem::path target = path.parent_path() / link.substr(0, hash);
        ASSERT_TRUE(std::filesystem::exists(target));
        if (hash == link.size()) continue;
        EXPECT_THAT(docs::readDocument(target).anchors, ::testing::Contains(link.substr(hash + 1)));
    }
}

INSTANTIATE_TEST_SUITE_P(ForDevices, ADocument,
                         ::testing::Values("docs/device.md", "docs/log.md", "CHANGELOG.md"),
                         [](const auto& parameter) {
                             std::string name = parameter.param;
                             std::replace_if(
                                 name.begin(), name.end(),
                                 [](char c) { return c == '/' || c == '.'; }, '_');
                             return name;
                         });

}  // namespace
