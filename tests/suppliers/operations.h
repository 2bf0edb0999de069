#ifndef SUPPLIERS_OPERATIONS_H_
#define SUPPLIERS_OPERATIONS_H_

#include <atomic>
#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace suppliers {

/// An operation that was asked for; its address is the user data. None is ever released, so that a
/// callback that comes too late is counted and harms nothing.
struct Started {
    int result = 0;  ///< of the call that starts it
    std::atomic<int> callbacks{0};

    bool isRefused() const { return result == -1; }
};

/// An asynchronous operation of the client library, started as the plug-in starts it.
struct Operation {
    std::string name;
    std::string asks;                ///< what a page asks for with it, for a test's name
    std::vector<std::string> texts;  ///< that it is given, in order
    std::function<int(const std::vector<const char*>& texts, void* userData)> call;
    bool needsPerson = false;  ///< it ends when a person ends it
    bool changesAccount = false;
    bool givesText = false;  ///< to its callback

    Started& start() const;
    /// With texts of the caller's.
    Started& start(const std::vector<const char*>& texts) const;
    friend std::ostream& operator<<(std::ostream& out, const Operation& operation) {
        return out << operation.asks;
    }

    /// Why it may not be started here; "" when it may.
    std::string reasonAgainst() const;
};

/// All, in the order of the plug-in's commands.
const std::vector<Operation>& operations();
/// Those that may be started here.
std::vector<Operation> startableOperations();

/// What callbacks do besides counting, with the text that came, or null. Set before the first start.
void duringCallbacks(std::function<void(const char* text)> action);

int runningCallbacks();
/// All that have begun.
int callbacks();
/// Those whose user data was none that had been given.
int strangeCallbacks();

/// Waits for as long as what was cut short, or told twice, could take to show.
///
/// @param duration  of an operation that is left to itself, if it is known
void waitForStragglers(std::chrono::milliseconds duration = {});

}  // namespace suppliers

#endif
