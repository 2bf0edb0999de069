// What a person is told of a text that is no JSON.

#include "base/json_mistake.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string mistakeIn(const std::string& text) {
    const auto mistake = base::findJsonMistake(text);
    if (!mistake) return "";
    return std::to_string(mistake->line) + ":" + std::to_string(mistake->column) + " " +
           mistake->cause;
}

TEST(AText, ThatIsJsonHasNoMistake) {
    for (const char* text : {"{}", " [1, -2.5e3, \"\\u00e4\\\\\", true, null]\n", "\xEF\xBB\xBF{}",
                             "{\"a\": {\"b\": []}}", "1"}) {
        EXPECT_EQ(mistakeIn(text), "") << text;
    }
    EXPECT_EQ(mistakeIn(std::string(100000, '[') + std::string(100000, ']')), "");
}

TEST(AText, ThatIsNoJsonIsToldWithPlaceAndCause) {
    struct Row {
        std::string text;
        const char* mistake;
    };
    const Row rows[] = {
        {"", "1:1 is empty"},
        {" \n\n ", "1:1 is empty"},
        {"// what\n{}", "1:1 is not JSON: it has no comments"},
        {"{\n  \"a\": 1, // what\n  \"b\": 2\n}", "2:11 is not JSON: it has no comments"},
        {"{\"a\": 1 /* what */}", "1:9 is not JSON: it has no comments"},
        {"# what\n{}", "1:1 is not JSON: it has no comments"},
        {"{} // what", "1:4 is not JSON: it has no comments"},
        {"{\n  \"a\": 1,\n}", "2:9 is not JSON: a comma is too many"},
        {"[1, 2, ]", "1:6 is not JSON: a comma is too many"},
        {"[1,,2]", "1:3 is not JSON: a comma is too many"},
        {"{\n  \"a\": 1\n  \"b\": 2\n}", "3:3 is not JSON: a comma is missing"},
        {"[1 2]", "1:4 is not JSON: a comma is missing"},
        {"[\"a\" \"b \\\" c\"]", "1:6 is not JSON: a comma is missing"},
        {"{\"a\" 1}", "1:6 is not JSON: a colon is missing"},
        {"{a: 1}", "1:2 is not JSON: a member's name is a text in double quotes"},
        {"{'a': 1}", "1:2 is not JSON: texts are in double quotes"},
        {"{\"a\": yes}", "1:7 is not JSON: its only words are true, false and null"},
        {"{\"a\": tru}", "1:7 is not JSON: its only words are true, false and null"},
        {"[1.]", "1:2 is not JSON: a number is not complete"},
        {"[-]", "1:2 is not JSON: a number is not complete"},
        {"[}", "1:2 is not JSON: this does not belong here"},
        {"{} {}", "1:4 is not JSON: more follows behind its end"},
        {"{\"a\": 1", "1:8 is not JSON: it ends too early"},
        {"{\"a\": \"b", "1:9 is not JSON: it ends too early"},
        {"{\"a\": 1\n\n", "1:8 is not JSON: it ends too early"},
        {"[\"\xC3\xA4\", \"two\nlines\"]", "1:11 is not JSON: a text does not go beyond its line"},
        {"[\"\t\"]", "1:3 is not JSON: a control character in a text has to be written as \\uXXXX"},
        {"[\"\\x\"]", "1:4 is not JSON: a \\ in a text begins nothing that it knows"},
        {"[\"\\ud800\"]", "1:9 is not JSON: a \\ in a text begins nothing that it knows"},
        {"[\"\xFF\"]", "1:3 is not in UTF-8"},
        {"[1e999]", "1:6 holds a number out of range"},
        {std::string("{}\0", 3), "1:3 is not JSON: it has a NUL character"},
        {std::string("{\0}", 3), "1:2 is not JSON: it has a NUL character"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(mistakeIn(row.text), row.mistake);
    }
}

}  // namespace
