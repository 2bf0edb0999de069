// What call tracing compiles into the plug-in, read from the built object.

#include <cxxabi.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <utility>

#include "../protocol/asynchronous_traces.h"
#include "elf_file.h"
#include "not_applicable.h"

namespace {

/// The text as it is when it is no mangled name.
std::string demangled(const std::string& name) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr), &std::free);
    return text != nullptr ? text.get() : name;
}

/// A place of the plug-in's handler: the function, without its class, and the line.
using Places = std::set<std::pair<std::string, int>>;

Places allPlaces() {
    Places places = {
        {"CPluginSSOMessageHandler", 30},
        {"~CPluginSSOMessageHandler", 41},
        {"m_ResponseData", 57},
        {"HandleMessageImpl", 108},
        {"HandleBlockingMessageImpl", 285},
        {"Register", 376},
        {"WasUnregistered", 386},
        {"m_CheckPrivilege", 584},
    };
    for (const protocol::AsynchronousTraces& traces : protocol::kAsynchronousTraces) {
        places.emplace(traces.callback, traces.scopeLine);
    }
    return places;
}

const Places kPlaces = allPlaces();

int sizeOf(const std::string& literal) { return static_cast<int>(literal.size()) + 1; }

/// Of the texts that are stored in the middle of a function.
std::set<int> sizesInTheMiddle() {
    std::set<int> sizes;
    for (const protocol::AsynchronousTraces& traces : protocol::kAsynchronousTraces) {
        if (traces.notStartedLine == 0 && traces.startedLine == 0) continue;
        sizes.insert(sizeOf(std::string(traces.callback) + " done"));
    }
    return sizes;
}

/// Of all texts that are stored.
std::set<int> allSizes() {
    std::set<int> sizes = sizesInTheMiddle();
    for (const auto& [function, line] : kPlaces) sizes.insert(sizeOf(function));
    return sizes;
}

class TheTracedPlugin : public ::testing::Test {
  protected:
    void SetUp() override {
        const std::string reason = elf::noNamesIn(m_elf);
        if (!reason.empty()) NOT_APPLICABLE(reason);
    }

    /// The sizes of the literals that Boost's functions for a kept formatter are instantiated for.
    std::set<int> boundSizesOf(const std::string& function) const {
        const std::regex instance("(?:static )?(?:void )?boost::detail::function::" + function +
                                  R"(\(.*)");
        const std::regex literal(R"(char const \(\*\) ?\[(\d+)\])");
        std::set<int> sizes;
        for (const std::string& symbol : m_elf.symbols()) {
            const std::string name = demangled(symbol);
            std::smatch match;
            if (std::regex_match(name, instance) && std::regex_search(name, match, literal)) {
                sizes.insert(std::stoi(match[1]));
            }
        }
        return sizes;
    }

    /// The sizes of the literals that a function template of the scope is instantiated for.
    std::set<int> sizesOf(const std::string& function, const std::string& value) const {
        const std::regex instance("void TCScopeContainer::" + function +
                                  R"(<char const \[(\d+)\]>\(ht::TSCallItemHelper\*, )" + value +
                                  R"( const\*\))");
        std::set<int> sizes;
        for (const std::string& symbol : m_elf.symbols()) {
            std::smatch match;
            const std::string name = demangled(symbol);
            if (std::regex_match(name, match, instance)) {
                sizes.insert(std::stoi(match[1]));
            }
        }
        return sizes;
    }

    /// The static variables of traced functions that are named `prefix` and the place's line, by
    /// their mangled names.
    std::map<std::string, std::pair<std::string, int>> placesNamed(
        const std::string& prefix) const {
        const std::regex variable(R"(CPluginSSOMessageHandler::([\w~]+)\(.*\)::)" + prefix +
                                  R"((\d+))");
        std::map<std::string, std::pair<std::string, int>> found;
        for (const std::string& symbol : m_elf.symbols()) {
            std::smatch match;
            const std::string name = demangled(symbol);
            if (std::regex_match(name, match, variable)) {
                found[symbol] = {match[1], std::stoi(match[2])};
            }
        }
        return found;
    }

    /// How often a function is on a list that the loader runs.
    std::ptrdiff_t timesListed(const std::string& function, const std::string& list) const {
        const auto functions = m_elf.functionList(list);
        return std::count_if(functions.begin(), functions.end(),
                             [&](const auto& names) { return names.count(function) != 0; });
    }

    const elf::ElfFile m_elf = elf::moduleUnderTest();
};

Places valuesOf(const std::map<std::string, std::pair<std::string, int>>& found) {
    Places places;
    for (const auto& [symbol, place] : found) {
        EXPECT_TRUE(places.insert(place).second) << symbol << " is there twice";
    }
    return places;
}

TEST_F(TheTracedPlugin, HasAFormatterForEachSizeOfText) {
    const std::set<int> sizes = allSizes();
    EXPECT_GE(sizes.size(), 16U);
    EXPECT_EQ(sizesOf("m_VoidToType", "void"), sizes);
    EXPECT_EQ(boundSizesOf("functor_manager<.*>::manage"), sizes);
    EXPECT_EQ(boundSizesOf("void_function_obj_invoker1<.*>::invoke"), sizes);
}

TEST_F(TheTracedPlugin, StoresInAFunctionOfItsOwnOnlyWhatComesInTheMiddle) {
    EXPECT_EQ(sizesOf("m_Store", "char"), sizesInTheMiddle());
}

TEST_F(TheTracedPlugin, HasARecordOfEachPlace) {
    EXPECT_EQ(valuesOf(placesNamed("htCodeLocation")), kPlaces);
}

TEST_F(TheTracedPlugin, HasANumberForEachPlace) {
    EXPECT_EQ(valuesOf(placesNamed("htID")), kPlaces);
}

TEST_F(TheTracedPlugin, BuildsItsRecordsButForThePointerToTheSwitch) {
    constexpr uint64_t kId = 24;
    constexpr uint64_t kEnabled = 32;
    const auto numbers = placesNamed("htID");
    ASSERT_FALSE(numbers.empty());
    for (const auto& [record, place] : placesNamed("htCodeLocation")) {
        SCOPED_TRACE(place.first);
        const std::set<std::string> id = m_elf.pointee(record, kId);
        ASSERT_EQ(id.size(), 1U);
        ASSERT_EQ(numbers.count(*id.begin()), 1U) << *id.begin();
        EXPECT_EQ(numbers.at(*id.begin()), place);
        EXPECT_EQ(m_elf.pointee(record, kEnabled), std::set<std::string>());
    }
}

TEST_F(TheTracedPlugin, ListsItsRegistrationForBothOfItsTracedFiles) {
    EXPECT_EQ(timesListed("_Z15HtLibHelperInitv", ".init_array"), 2);
}

TEST_F(TheTracedPlugin, ListsItsDeregistrationForBothOfItsTracedFiles) {
    EXPECT_EQ(timesListed("_Z17HtLibHelperDeinitv", ".fini_array"), 2);
}

}  // namespace
