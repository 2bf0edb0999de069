#include <gtest/gtest.h>

#include <string>

#include "dlog.h"
#include "log_fixture.h"

namespace {

class AnArgument : public TheLogFile {
  protected:
    /// What follows "] " in each line of the file, joined by "|".
    template <typename... Arguments>
    std::string logged(const char* format, const Arguments&... arguments) {
        EXPECT_EXIT(
            {
                __dlog_print(0, 4, "TAG", format, arguments...);
                _exit(0);
            },
            ::testing::ExitedWithCode(0), "");
        std::string texts;
        for (const std::string& line : lines()) {
            const std::size_t head = line.find("] ");
            texts += (texts.empty() ? "" : "|") +
                     (head == std::string::npos ? line : line.substr(head + 2));
        }
        return texts;
    }
};

TEST_F(AnArgument, DoesNotEndALine) {
    EXPECT_EQ(logged("command is %s", "x\n11-22 10:00:00.000 I/TAG(    1:    1) [main] forged\r\n"),
              "command is x\\n11-22 10:00:00.000 I/TAG(    1:    1) [main] forged\\u000d\\n");
}

TEST_F(AnArgument, DoesNotSteerATerminal) {
    EXPECT_EQ(logged("<%s>", "\033[2J\033]0;title\a\x7f\t"),
              "<\\u001b[2J\\u001b]0;title\\u0007\\u007f\\u0009>");
}

TEST_F(AnArgument, DoesNotSteerItByOneOfTwoBytesEither) {
    EXPECT_EQ(logged("%s",
                     "\xc2\x9b"
                     "2J \xc2\x80 \xc2\xa0 \xc3\x9b"),
              "\\u009b2J \\u0080 \xc2\xa0 \xc3\x9b");
}

TEST_F(AnArgument, NeitherTurnsNorSeparatesALine) {
    EXPECT_EQ(logged("%s", "\xe2\x80\xa7 \xe2\x80\xa8 \xe2\x80\xae \xe2\x80\xaf \xe2\x82\xac"),
              "\xe2\x80\xa7 \\u2028 \\u202e \xe2\x80\xaf \xe2\x82\xac");
}

TEST_F(AnArgument, MayEndInTheMiddleOfALetter) {
    EXPECT_EQ(logged("%s\n", "\xe2\x80"), "\xe2\x80|");
}

TEST_F(AnArgument, LeavesTheFormatItsOwn) {
    EXPECT_EQ(logged("a\tb\n%s %d %s\n", "x\ny", 7, "\t"), "a\tb|x\\ny 7 \\u0009|");
}

TEST_F(AnArgument, DoesNotStandForWhatWasCutOfTheFormat) {
    const std::string text = "\n" + std::string(5000, 'x');
    EXPECT_EQ(logged("%s\n", text.c_str()), "\\n" + std::string(4093, 'x'));
}

TEST_F(AnArgument, DoesNotEndALineByTheLastLetterThatFits) {
    const std::string text = std::string(4094, 'x') + "\nforged";
    EXPECT_EQ(logged("%s", text.c_str()), std::string(4094, 'x'));
}

TEST_F(AnArgument, OfManyIsCutAndNotHalved) {
    const std::string text(4000, '\a');
    const std::string escaped = logged("%s", text.c_str());
    std::string wanted;
    for (int i = 0; i < 682; ++i) wanted += "\\u0007";
    EXPECT_EQ(escaped, wanted);
}

TEST_F(AnArgument, OfAFormatBeyondAllMeasureIsTheFormatItself) {
    const std::string format = "\n" + std::string(4095, 'x') + "%s";
    EXPECT_EQ(logged(format.c_str(), "\n"), "\\n" + std::string(4093, 'x'));
}

TEST_F(AnArgument, MakesNoConversionOfTheFormatAnother) {
    EXPECT_EQ(logged("100%%\n%5d %-4s|\n%s", 42, "ab", "\n"), "100%|   42 ab  ||\\n");
}

}  // namespace
