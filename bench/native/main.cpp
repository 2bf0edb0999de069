// The modules without a browser's channel: what is left is their own time, that of the class layer, and of
// a hand-over between two threads, which is measured alone, too. Google Benchmark's options apply.
//
//   bench-native MODULE... [options]

#include <benchmark/benchmark.h>

#include <unistd.h>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "native/browser.h"
#include "native/work_queue.h"

namespace {

PP_Var tokenRequest() {
    return bench::request({{"command", "sso_plugin_getZEVAccessToken"},
                           {"id", "demo-client"},
                           {"secret", "demo-secret"}});
}

/// An instance, and a request for it.
class Conversation {
  public:
    Conversation(bench::Module& module, const PP_Var& message)
        : m_module(module), m_instance(module.make()), m_message(message) {}
    ~Conversation() {
        m_module.destroy(m_instance);
        bench::release(m_message);
    }
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    void call() const { bench::release(bench::call(m_instance, m_message)); }

    /// Has so many on the way at once.
    void exchange(std::size_t count) const {
        const std::size_t before = bench::answers();
        for (std::size_t i = 0; i < count; ++i) bench::post(m_instance, m_message);
        bench::waitForAnswers(before + count);
    }

    void post() const { bench::post(m_instance, m_message); }

  private:
    bench::Module& m_module;
    const PP_Instance m_instance;
    const PP_Var m_message;
};

long residentKiB() {
    std::ifstream file("/proc/self/statm");
    long total = 0;
    long resident = 0;
    file >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

/// The least that a blocking message can take: another thread is woken, and wakes this one.
void handOver(benchmark::State& state) {
    bench::WorkQueue queue;
    std::thread worker([&queue] { queue.run(); });
    for ([[maybe_unused]] const auto _ : state) queue.runAndWait([] {});
    queue.quit();
    worker.join();
}

void blocking(benchmark::State& state, bench::Module& module, const char* command) {
    const Conversation conversation(module, bench::request({{"command", command}}));
    for ([[maybe_unused]] const auto _ : state) conversation.call();
}

/// So many on the way at once as the argument says.
void inFlight(benchmark::State& state, bench::Module& module) {
    const Conversation conversation(module, tokenRequest());
    const auto count = static_cast<std::size_t>(state.range(0));
    for ([[maybe_unused]] const auto _ : state) conversation.exchange(count);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// 100 messages to each of so many instances as the argument says.
void manyInstances(benchmark::State& state, bench::Module& module) {
    std::vector<std::unique_ptr<Conversation>> conversations;
    conversations.reserve(static_cast<std::size_t>(state.range(0)));
    for (int i = 0; i < state.range(0); ++i) {
        conversations.push_back(std::make_unique<Conversation>(module, tokenRequest()));
    }
    constexpr std::size_t kEach = 100;
    for ([[maybe_unused]] const auto _ : state) {
        const std::size_t before = bench::answers();
        for (std::size_t i = 0; i < kEach; ++i) {
            for (const auto& conversation : conversations) conversation->post();
        }
        bench::waitForAnswers(before + kEach * conversations.size());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * static_cast<long>(kEach));
}

void makeAndDestroy(benchmark::State& state, bench::Module& module) {
    for ([[maybe_unused]] const auto _ : state) module.destroy(module.make());
}

void load(benchmark::State& state, const std::string& path) {
    for ([[maybe_unused]] const auto _ : state) const bench::Module module(path);
}

/// What 64 instances that have answered take, stacks of their threads included.
void residentOfInstances(benchmark::State& state, bench::Module& module) {
    constexpr int kInstances = 64;
    for ([[maybe_unused]] const auto _ : state) {
        const Conversation first(module, tokenRequest());
        first.exchange(1);
        const long before = residentKiB();
        std::vector<std::unique_ptr<Conversation>> conversations;
        for (int i = 0; i < kInstances; ++i) {
            conversations.push_back(std::make_unique<Conversation>(module, tokenRequest()));
            conversations.back()->exchange(1);
        }
        state.counters["KiB_per_instance"] =
            static_cast<double>(residentKiB() - before) / kInstances;
    }
}

/// What a million messages leave behind.
void million(benchmark::State& state, bench::Module& module) {
    constexpr std::size_t kAtOnce = 1000;
    constexpr std::size_t kMessages = 1000000;
    const Conversation conversation(module, tokenRequest());
    for ([[maybe_unused]] const auto _ : state) {
        for (std::size_t i = 0; i < 10; ++i) conversation.exchange(kAtOnce);
        const long before = residentKiB();
        for (std::size_t i = 0; i < kMessages / kAtOnce; ++i) conversation.exchange(kAtOnce);
        state.counters["KiB_more"] = static_cast<double>(residentKiB() - before);
    }
    state.SetItemsProcessed(static_cast<long>(kMessages));
}

/// A benchmark's name, for a module.
std::string nameOf(const std::string& benchmark, const std::string& path) {
    const bool isEcho = path.find("echo", path.rfind('/') + 1) != std::string::npos;
    return benchmark + (isEcho ? "/echo" : "/plugin");
}

/// Each benchmark loads the module and unloads it.
template <typename Function>
benchmark::internal::Benchmark* add(const std::string& name, const std::string& path,
                                    Function function) {
    return benchmark::RegisterBenchmark(nameOf(name, path).c_str(),
                                        [path, function](benchmark::State& state) {
                                            bench::Module module(path);
                                            function(state, module);
                                        })
        ->UseRealTime();
}

void registerFor(const std::string& path) {
    const auto calls = [](const char* command) {
        return [command](benchmark::State& state, bench::Module& module) {
            blocking(state, module, command);
        };
    };
    add("blocking getVersion", path, calls("sso_plugin_getVersion"));
    add("blocking getSSOState", path, calls("sso_plugin_getSSOState"));
    auto* flight = add("in flight", path, inFlight);
    for (const int count : {1, 10, 100, 1000, 5000, 20000}) flight->Arg(count);
    auto* instances = add("instances", path, manyInstances);
    for (const int count : {1, 2, 4, 8, 16, 32, 64}) instances->Arg(count);
    add("make and destroy", path, makeAndDestroy);
    add("resident", path, residentOfInstances)->Iterations(1);
    add("million", path, million)->Iterations(1);
    benchmark::RegisterBenchmark(nameOf("load", path).c_str(), [path](benchmark::State& state) {
        load(state, path);
    })->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench-native MODULE... [options]\n");
        return 2;
    }
    benchmark::RegisterBenchmark("hand-over", &handOver)->UseRealTime();
    for (int i = 1; i < argc; ++i) registerFor(argv[i]);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
