// The protocol as the demo has it: a page from a folder can load a script, but no JSON.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "protocol_data.h"

namespace {

using nlohmann::json;

constexpr const char* kAdvice = "; run scripts/generate";

std::string textOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::map<std::string, json> commandsOf(const std::string& text) {
    const json protocol = json::parse(text);
    std::map<std::string, json> commands;
    for (const json& command : protocol.at("commands")) {
        commands[command.at("name").get<std::string>()] = command;
    }
    return commands;
}

TEST(TheDemosCopyOfTheProtocol, IsUpToDate) {
    const std::string script = textOf(SSO_SOURCE_DIR "/web/demo/protocol.js");
    const std::string original = textOf(contract::dataFile("protocol.json"));
    const std::string begin = "\nconst protocol = ";
    const std::size_t at = script.find(begin);
    ASSERT_NE(at, std::string::npos) << "web/demo/protocol.js is no copy" << kAdvice;
    const std::string rest = script.substr(at + begin.size());
    const std::string copy = rest.substr(0, rest.rfind(';')) + '\n';
    const std::map<std::string, json> offered = commandsOf(copy);
    const std::map<std::string, json> known = commandsOf(original);
    for (const auto& [name, command] : known) {
        const auto found = offered.find(name);
        if (found == offered.end()) {
            ADD_FAILURE() << "web/demo/protocol.js lacks " << name << kAdvice;
        } else {
            EXPECT_EQ(found->second.dump(), command.dump()) << "in web/demo/protocol.js" << kAdvice;
        }
    }
    for (const auto& [name, command] : offered) {
        EXPECT_EQ(known.count(name), 1U) << "web/demo/protocol.js still has " << name << kAdvice;
    }
    if (HasFailure()) return;
    EXPECT_TRUE(copy == original) << "web/demo/protocol.js is out of date" << kAdvice;
}

}  // namespace
