// Verbs that let operations fail, take long, or hang.

#include "account/account_file.h"
#include "account/operation_names.h"
#include "operations.h"
#include "state_texts.h"
#include "verb_input.h"
#include "verb_tree.h"

namespace service::order_verbs {
namespace {

using account::Operation;

constexpr int kUnavailable = -7;  // SSO_ERROR_UNAVAILABLE
constexpr int kLowestCode = -99;
constexpr int kMostTimes = 1000000;

struct Which {
    std::string operation;
};

struct Failure {
    std::string operation;
    int times = 0;
    int code = kUnavailable;
};

struct Delay {
    std::string operation;
    std::string time;
};

struct Reset {
    bool all = false;
};

/// Gives an order for each operation that the word means.
Json order(VerbRun& run, const std::string& word,
           const std::function<void(Orders&, Operation)>& give) {
    const std::vector<Operation> operations = operationsFrom(word);
    run.state.order([&](Orders& orders) {
        for (const Operation operation : operations) give(orders, operation);
    });
    Json all = Json::object();
    const Json orders = Json::parse(run.state.orders().asJson());
    for (const Operation operation : operations) {
        const char* name = account::nameOf(operation);
        all[name] = orders.value(name, Json::object());
    }
    return all;
}

Json fail(VerbRun& run, const Failure& wanted) {
    if (wanted.code == 0) throw Refused("code 0 is success");
    return order(run, wanted.operation, [&](Orders& orders, Operation operation) {
        orders.fail(operation, wanted.code, wanted.times);
    });
}

Json delay(VerbRun& run, const Delay& wanted) {
    constexpr std::chrono::minutes kLongest{10};
    const std::chrono::milliseconds time = durationFrom(wanted.time, "ms");
    if (time > kLongest) throw Refused("a delay must be at most 10m");
    return order(run, wanted.operation,
                 [&](Orders& orders, Operation operation) { orders.delay(operation, time); });
}

Json hang(VerbRun& run, const Which& which) {
    return order(run, which.operation,
                 [](Orders& orders, Operation operation) { orders.hang(operation); });
}

Json reset(VerbRun& run, const Reset& wanted) {
    if (wanted.all) {
        run.state.replace(account::parseAccountFile(kNewStateText, "new_state.json"), Orders(),
                          std::chrono::milliseconds(0));
        return Json::object();
    }
    run.state.order([](Orders& orders) { orders.clear(); });
    run.state.clearNextPopups();
    return Json::object();
}

std::vector<std::string> operationWords() {
    std::vector<std::string> words = {"all"};
    for (const CommandOperations& one : commandOperations()) {
        if (!one.operations.empty()) words.emplace_back(one.shortName);
    }
    return words;
}

void declareOperation(CLI::App& app, std::string& operation) {
    app.add_option("OPERATION", operation,
                   "A command such as getAccessToken, a function of sso_api.h, or all")
        ->required();
}

}  // namespace

void declare(VerbTree& tree) {
    tree.add<Failure>(
        {"fail", "Let an operation fail", "ssoctl fail getAccessToken --times 2 --code -7",
         operationWords()},
        [](CLI::App& app, Failure& wanted) {
            declareOperation(app, wanted.operation);
            app.add_option("--times", wanted.times, "How often; without, until reset")
                ->check(CLI::Range(1, kMostTimes));
            app.add_option("--code", wanted.code,
                           "The result, as in sso_api.h: -1 not started, -2 no account, -3 "
                           "cancelled, -4 invalid, -5 unknown, -6 duplicate, -7 unavailable")
                ->check(CLI::Range(kLowestCode, 0))
                ->capture_default_str();
        },
        &fail);
    tree.add<Delay>(
        {"delay", "Let an operation take longer", "ssoctl delay getAccessToken 1500",
         operationWords()},
        [](CLI::App& app, Delay& wanted) {
            declareOperation(app, wanted.operation);
            app.add_option("TIME", wanted.time, "Milliseconds, or such as 2s")->required();
        },
        &delay);
    tree.add<Which>(
        {"hang", "Let an operation not be answered, for a minute; a popup stays open",
         "ssoctl hang getAccessToken", operationWords()},
        [](CLI::App& app, Which& which) { declareOperation(app, which.operation); }, &hang);
    tree.add<Reset>(
        {"reset",
         "Take back fail, delay and hang, and what was set for the next popups",
         "ssoctl reset",
         {}},
        [](CLI::App& app, Reset& wanted) {
            app.add_flag("--all", wanted.all, "Begin the whole state anew");
        },
        &reset);
}

}  // namespace service::order_verbs
