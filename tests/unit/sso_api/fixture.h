#ifndef UNIT_SSO_API_FIXTURE_H_
#define UNIT_SSO_API_FIXTURE_H_

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "client_library.h"
#include "sso_api_control.h"

/// Starts operations and remembers what their callbacks are told, as texts such as
/// "login: 0 state 1", "token: -5 null", "list: 0 []" and "add: -6"; the word before the colon is
/// the operation's name. Callbacks return 1, 2 and 3 in this order of their kinds.
class Callbacks {
  public:
    Callbacks() = default;
    /// Ends what is outstanding, if any of these is: no callback finds this object gone.
    ~Callbacks();
    Callbacks(const Callbacks&) = delete;
    Callbacks& operator=(const Callbacks&) = delete;

    /// Runs inside each callback, before it counts. Set before operations are started.
    std::function<void(const std::string& operation)> inside = [](const std::string&) {};

    // Each gives the start's result.
    int show(const std::string& name, const char* page = "page");
    int showTerms(const std::string& name, const char* termsId);
    int requestToken(const std::string& name, const char* clientId, const char* secret);
    int listMappings(const std::string& name, const char* appId, const char* cpName);
    int addMapping(const std::string& name, const char* appId, const char* cpName,
                   const char* cpUid);
    int removeMapping(const std::string& name, const char* appId, const char* cpName,
                      const char* cpUid);
    /// One of each kind, under the names of the functions without "sso_".
    void startAll();

    /// All that have come, in their order, once there are as many.
    std::vector<std::string> waitFor(std::size_t count);
    std::vector<std::string> now();
    /// The names of the threads that they came on.
    std::vector<std::string> threads();

  private:
    struct Operation {
        std::string name;
        Callbacks* callbacks;
    };

    void* userDataOf(const std::string& name);
    int started(int result);
    static void ended(void* userData, const std::string& what);
    static int popupEnded(void* userData, int result, sso_popup_state_e state);
    static int textCame(void* userData, int result, char* text);
    static int resultCame(void* userData, int result);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Operation> m_operations;
    std::size_t m_started = 0;
    std::vector<std::string> m_ended;
    std::vector<std::string> m_threads;
};

/// The name that the calling thread has for the system.
std::string threadName();

/// The client library, as in a fresh process before and after each test.
class TheClientLibrary : public ::testing::Test {
  protected:
    TheClientLibrary() { support::resetLibrary(); }
    ~TheClientLibrary() override {
        sso_api_control_set_observer(nullptr, nullptr);
        sso_api_control_set_text_observer(nullptr, nullptr);
        support::resetLibrary();
    }

    /// The content of an account file; fails the test when it is none.
    void useAccount(const std::string& json);

    // Each runs one operation to its own end, and gives what the callback is told: "0 state 0",
    // "0 the-token", "-6".
    std::string show(const char* page);
    std::string showTerms(const char* termsId);
    std::string token(const char* clientId, const char* secret);
    std::string list(const char* appId, const char* cpName);
    std::string add(const char* appId, const char* cpName, const char* cpUid);
    std::string remove(const char* appId, const char* cpName, const char* cpUid);

    // What the queries give: "0 1", "0 guid-1". After a failure the value is what it was before,
    // "untouched" or 77.
    std::string loginState();
    std::string termState(const char* termsId);
    std::string loginInfo();  ///< "0 login-1 uid-1"
    std::string guid();
    std::string authToken();
};

#endif
