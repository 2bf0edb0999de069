#include "contract_suite.h"

#include <gmock/gmock.h>

namespace contract {

// One test for each setting, because a host takes its time to start; every row fails by its name.
TEST_P(TheContract, IsKept) {
    const auto& [openPage, visit] = GetParam();
    const Page::Received received = openPage(visit.setting)->send(visit.rows);
    for (std::size_t i = 0; i < visit.rows.size(); ++i) {
        const Row& row = visit.rows[i];
        const std::string request = row.javaScript.empty() ? row.request.dump() : row.javaScript;
        const std::string name = row.title + ", " + nameOf(row.path) + ": " + request;
        ASSERT_LT(i, received.answers.size()) << "no answer to " << name;
        // As texts: 0 and 0.0 are not the same.
        EXPECT_EQ(received.answers[i].dump(), row.answer.dump()) << name;
    }
    EXPECT_THAT(received.left, ::testing::IsEmpty()) << "every request has one answer";
}

}  // namespace contract
