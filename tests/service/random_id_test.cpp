// Identifiers and secrets that nobody chose.

#include "random_id.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(ARandomId, IsAStartAndSixteenBytesThatNoOtherHas) {
    std::set<std::string> all;
    for (int i = 0; i < 1000; ++i) {
        const std::string id = service::randomId("uid-");
        EXPECT_THAT(id, ::testing::MatchesRegex("uid-[0-9a-f]{32}"));
        EXPECT_TRUE(all.insert(id).second) << id;
    }
}

}  // namespace
