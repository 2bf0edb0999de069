#ifndef HOST_TESTS_VAR_TEST_H_
#define HOST_TESTS_VAR_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "browser_tables.h"
#include "host/var_table.h"

/// The vars' interfaces without a module around them. Fails when a test leaves a reference behind,
/// and when something was noted that the test did not take.
class VarTest : public ::testing::Test {
  protected:
    using Value = host::Value;

    VarTest() { table().reset(); }

    void TearDown() override {
        EXPECT_THAT(newProblems(), ::testing::IsEmpty());
        EXPECT_EQ(heldReferences(), 0);
        table().reset();
    }

    static host::VarTable& table() { return host::VarTable::instance(); }

    /// What was noted since the last call.
    std::vector<std::string> newProblems() {
        std::vector<std::string> problems = table().problems();
        problems.erase(problems.begin(), problems.begin() + static_cast<std::ptrdiff_t>(m_seen));
        m_seen += problems.size();
        return problems;
    }

    /// All of the module's references.
    static int heldReferences() {
        int references = 0;
        for (const host::HeldVar& var : table().moduleHeldVars()) references += var.references;
        return references;
    }

    /// The module's references to one var.
    static int references(const PP_Var& var) {
        for (const host::HeldVar& held : table().moduleHeldVars()) {
            if (held.id == var.value.as_id) return held.references;
        }
        return 0;
    }

    /// A string var that is dead already.
    static PP_Var deadText(const std::string& bytes) {
        const PP_Var var = support::text(bytes);
        support::vars().Release(var);
        return var;
    }

    /// The recorded changes, as "call +1 = references".
    static std::vector<std::string> operations(std::int64_t id = 0) {
        std::vector<std::string> steps;
        for (const host::VarOperation& step : table().operations(id)) {
            steps.push_back(step.call + (step.change > 0 ? " +" : " ") +
                            std::to_string(step.change) + " = " +
                            std::to_string(step.moduleReferences));
        }
        return steps;
    }

  private:
    std::size_t m_seen = 0;
};

#endif
