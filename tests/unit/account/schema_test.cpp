// The schema of account files against the reader: what one refuses the other refuses.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>
#include <vector>

#include "account/account_file.h"
#include "account_files.h"

namespace {

using nlohmann::json;

constexpr const char* kSchema = SSO_SOURCE_DIR "/account/account.schema.json";
constexpr const char* kAccounts = SSO_SOURCE_DIR "/account/examples";

json readJson(const std::string& path) {
    std::ifstream file(path);
    return json::parse(file);
}

class TheSchema : public ::testing::Test {
  protected:
    TheSchema() {
        const json document = readJson(kSchema);
        valijson::SchemaParser(valijson::SchemaParser::kDraft7)
            .populateSchema(valijson::adapters::NlohmannJsonAdapter(document), m_schema);
    }

    bool accepts(const json& document) {
        valijson::Validator validator;
        return validator.validate(m_schema, valijson::adapters::NlohmannJsonAdapter(document),
                                  nullptr);
    }

    /// What is no JSON at all is refused, too.
    bool accepts(const std::string& text) {
        const json document = json::parse(text, nullptr, false);
        return !document.is_discarded() && accepts(document);
    }

  private:
    valijson::Schema m_schema;
};

TEST_F(TheSchema, AcceptsWhatTheReaderAccepts) {
    for (const std::string& text : kGoodFiles) {
        EXPECT_TRUE(accepts(text)) << text;
        EXPECT_NO_THROW(account::parseAccountFile(text, "file")) << text;
    }
}

TEST_F(TheSchema, RefusesWhatTheReaderRefusesAsFarAsASchemaCan) {
    for (const BadFile& row : kBadFiles) {
        EXPECT_EQ(accepts(row.json), row.checkedBy == CheckedBy::Reader) << row.json.substr(0, 200);
        EXPECT_THROW(account::parseAccountFile(row.json, "file"), account::AccountFileError)
            << row.json.substr(0, 200);
    }
}

TEST_F(TheSchema, AcceptsTheExampleAccounts) {
    std::set<std::string> examples;
    for (const auto& entry : std::filesystem::directory_iterator(kAccounts)) {
        SCOPED_TRACE(entry.path());
        examples.insert(entry.path().filename());
        const json document = readJson(entry.path());
        EXPECT_TRUE(accepts(document));
        EXPECT_NO_THROW(account::readAccountFile(entry.path()));
        // An editor finds the schema by this.
        EXPECT_TRUE(std::filesystem::equivalent(
            entry.path().parent_path() / document.at("$schema").get<std::string>(), kSchema));
    }
    EXPECT_EQ(examples, (std::set<std::string>{"everything-fails.json", "signed-in.json",
                                               "signed-out.json"}));
}

using Members = std::vector<std::pair<std::string, json>>;

/// The members that a schema names, with their schemas. What "anyOf" says of them is a condition.
Members membersOf(const json& schema) {
    Members members;
    if (!schema.is_structured()) return members;
    for (const auto& [key, value] : schema.items()) {
        if (key == "anyOf") continue;
        if (key == "properties") {
            for (const auto& [name, member] : value.items()) {
                members.emplace_back(name, member);
            }
        }
        const Members below = membersOf(value);
        members.insert(members.end(), below.begin(), below.end());
    }
    return members;
}

TEST_F(TheSchema, DescribesEveryMember) {
    const Members members = membersOf(readJson(kSchema));
    EXPECT_EQ(members.size(), 47U);
    for (const auto& [name, member] : members) {
        EXPECT_TRUE(member.contains("description")) << name;
    }
}

}  // namespace
