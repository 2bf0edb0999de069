#ifndef BROWSER_BROWSER_TEST_H_
#define BROWSER_BROWSER_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "process.h"
#include "temporary_folder.h"

namespace browser {

/// The real browser, run as a program of its own for each script.
class BrowserTest : public ::testing::Test {
  protected:
    using Json = nlohmann::json;
    using Arguments = std::vector<std::string>;

    /// Runs the browser with these arguments, and nothing else.
    support::ProcessResult runBrowser(const Arguments& arguments,
                                      support::ProcessOptions options = {});

    /// Runs a script in the test page, see page/embedding.js, and fails the test when it does.
    ///
    /// @param script  the body of an async function.
    /// @return what it returns.
    Json runScript(const std::string& script, const Arguments& arguments = {"--grant", "partner"},
                   support::ProcessOptions options = {});

    /// Of the last runScript(): the page's console.
    std::vector<std::string> console() const;

    /// What lets a program have the account service and the states of this test alone: variables.
    std::vector<std::string> desk() const;

    support::TemporaryFolder m_folder;
    support::TemporaryFolder m_desk;  ///< of the account service

  private:
    support::ProcessResult m_last;
};

}  // namespace browser

#endif
