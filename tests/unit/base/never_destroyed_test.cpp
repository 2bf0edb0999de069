#include "base/never_destroyed.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace {

using base::NeverDestroyed;

/// Says when it goes.
struct Talker {
    ~Talker() { std::fputs("destroyed;", stderr); }
};

TEST(AnObjectThatIsNeverDestroyed, StaysWhenTheProcessEnds) {
    EXPECT_EXIT(
        {
            static NeverDestroyed<Talker> staying;
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^$");
}

// The twin of the one above: without it that could pass because nobody hears it.
TEST(AnOrdinaryObject, GoesWhenTheProcessEnds) {
    EXPECT_EXIT(
        {
            static Talker going;
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^destroyed;$");
}

TEST(AnObjectThatIsNeverDestroyed, IsMadeOfItsArguments) {
    NeverDestroyed<std::pair<std::string, int>> pair("text", 7);
    EXPECT_EQ(*pair, (std::pair<std::string, int>("text", 7)));
    (*pair).first.~basic_string();  // which nobody else does

    auto owned = std::make_unique<int>(8);
    NeverDestroyed<std::unique_ptr<int>> moved(std::move(owned));
    EXPECT_EQ(**moved, 8);
    (*moved).reset();
}

TEST(AnObjectThatIsNeverDestroyed, IsTheSameObjectEachTime) {
    NeverDestroyed<int> number(1);
    ++*number;
    EXPECT_EQ(*number, 2);
    EXPECT_EQ(&*number, &*number);
}

}  // namespace
