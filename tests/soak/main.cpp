// Sends millions of messages through the plug-in, makes and removes elements while operations are under way, and tells
// whether each request had its answer, and whether anything was left over.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <vector>

#include "element.h"
#include "embedder/vendor_table.h"
#include "figures.h"
#include "host/browser_interfaces.h"
#include "host/plugin_host.h"
#include "runtime/ppb_extension_system_korvane.h"
#include "sso_api_control.h"

namespace soak {
namespace {

using namespace std::chrono_literals;
using host::Value;

volatile std::sig_atomic_t g_isStopped = 0;

struct Settings {
    std::string module;
    std::size_t messages = 10'000'000;
    std::size_t elements = 64;
    std::size_t threads = 8;
    std::size_t removals = 20'000;
};

constexpr std::size_t kFinishers = 4;
constexpr std::size_t kPauses = 100;  ///< at which nothing is under way, and memory is looked at
constexpr std::size_t kWindow = 16;   ///< requests of an element that are under way
constexpr std::size_t kFlat = 4'000'000;  ///< messages after which nothing more is kept for later
constexpr double kMore = 64 * 1024;  ///< bytes in use: less than one for 50 messages of such a run
constexpr auto kPatience =
    std::chrono::seconds(30);  ///< for an answer, however busy the machine is

double mebibytes(std::size_t bytes) { return static_cast<double>(bytes) / 1024 / 1024; }

class Run {
  public:
    explicit Run(const Settings& settings);

    /// @param held  whether operations are ended by kFinishers threads, and not in order by the library.
    void sendMessages(std::size_t count, bool held);
    void removeElements();
    /// @return whether all was as it has to be, after lines that say what was not.
    bool finish();

  private:
    using Elements = std::vector<std::shared_ptr<Element>>;

    std::shared_ptr<Element> embed();
    void remove(const std::shared_ptr<Element>& element);
    void take(const host::Message& message);
    void play(const Elements& elements, const std::atomic<bool>& isOver);
    /// Has so many messages sent, counted from the start of the run, by all the threads.
    void playUntil(std::size_t sent, const Elements& elements,
                   const std::function<void()>& meanwhile);
    void call(const Element& element);
    void waitForAnswers(const Elements& elements);
    void finishOperations(const std::atomic<bool>& isOver) const;
    void progress(const char* what, std::size_t done, std::size_t of);
    void mistake(const std::string& what);

    const Settings m_settings;
    const Holdings m_before;
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_told = m_begin;

    std::shared_mutex m_mutex;  ///< of the elements
    std::unordered_map<PP_Instance, std::shared_ptr<Element>> m_elements;
    std::atomic<bool> m_inOrder = true;
    std::atomic<std::size_t> m_sent = 0;
    std::atomic<std::size_t> m_answered = 0;
    std::atomic<std::size_t> m_mistakes = 0;
    std::size_t m_removed = 0;
    std::unique_ptr<host::PluginHost> m_host;
};

/// What the client library keeps for the process, its thread and its connection, is there from then on.
Holdings holdingsOnceTheLibraryRuns() {
    sso_api_control_set_account(accountOfElements().c_str());
    sso_request_access_token(
        "", "", [](void*, int, char*) { return 0; }, nullptr);
    sso_give_proxy();
    return holdings();
}

Run::Run(const Settings& settings) : m_settings(settings), m_before(holdingsOnceTheLibraryRuns()) {
    host::PluginHost::Options options;
    options.modulePath = settings.module;
    options.interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] = embedder::vendorTable();
    options.onMessage = [this](const host::Message& message) { take(message); };
    embedder::setBrowser(host::browserInterface);
    m_host = std::make_unique<host::PluginHost>(std::move(options));
}

void Run::mistake(const std::string& what) {
    constexpr std::size_t kShown = 20;
    if (m_mistakes++ < kShown) std::fprintf(stderr, "soak: %s\n", what.c_str());
}

std::shared_ptr<Element> Run::embed() {
    std::shared_ptr<Element> element;
    m_host->embed({}, [&](PP_Instance instance) {
        embedder::setApplication(instance, {"soak",
                                            {SSO_PRIVILEGE_ORIGIN "/privilege/sso.partner",
                                             SSO_PRIVILEGE_ORIGIN "/privilege/sso.platform"}});
        element = std::make_shared<Element>(instance);
        const std::lock_guard lock(m_mutex);
        m_elements.emplace(instance, element);
    });
    m_host->drain(element->instance(), kPatience);
    return element;
}

/// From then on it may get nothing.
void Run::remove(const std::shared_ptr<Element>& element) {
    m_host->destroy(element->instance());
    embedder::forgetInstance(element->instance());
    const std::lock_guard lock(m_mutex);
    m_elements.erase(element->instance());
}

void Run::take(const host::Message& message) {
    if (message.value == Value("Unregister")) return;
    std::shared_ptr<Element> element;
    {
        const std::shared_lock lock(m_mutex);
        const auto found = m_elements.find(message.instance);
        if (found != m_elements.end()) element = found->second;
    }
    if (element == nullptr) return mistake("an answer for an element that is gone");
    const std::string wrong = element->take(message.value, m_inOrder);
    if (!wrong.empty()) mistake(wrong);
    ++m_answered;
}

void Run::call(const Element& element) {
    const host::CallResult uid = m_host->call(
        element.instance(), Value::Dictionary{{"command", "sso_plugin_getLoginUid"}}, kPatience);
    if (uid.status != host::CallResult::Status::Replied ||
        uid.value["value"] != Value("uid-soak")) {
        mistake("a blocking request without its answer");
    }
    ++m_sent;
    ++m_answered;
}

void Run::play(const Elements& elements, const std::atomic<bool>& isOver) {
    for (std::size_t turn = 0; !isOver; ++turn) {
        bool hasSent = false;
        for (const auto& element : elements) {
            if (element->outstanding() >= kWindow) continue;
            hasSent = true;
            ++m_sent;
            m_host->post(element->instance(), element->next());
            if (turn % 4 == 0) call(*element);
        }
        m_host->takeMessages();  // told of already
        if (!hasSent) std::this_thread::sleep_for(100us);
    }
}

void Run::finishOperations(const std::atomic<bool>& isOver) const {
    const SsoApiEnd end{SSO_OK, SSO_POPUP_COMPLETED, kAnyToken};
    while (!isOver || sso_api_control_outstanding() > 0) {
        if (sso_api_control_finish(0, &end, nullptr) != SSO_OK) std::this_thread::sleep_for(50us);
    }
}

void Run::waitForAnswers(const Elements& elements) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (const auto& element : elements) {
        while (element->outstanding() > 0 && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(1ms);
        }
        if (element->outstanding() > 0) {
            mistake(std::to_string(element->outstanding()) + " requests without an answer");
        }
    }
}

void Run::progress(const char* what, std::size_t done, std::size_t of) {
    const auto now = std::chrono::steady_clock::now();
    if (now - m_told < std::chrono::seconds(5)) return;
    m_told = now;
    const double seconds = std::chrono::duration<double>(now - m_begin).count();
    const Holdings held = holdings();
    std::printf("soak: %zu of %zu %s, %.0f s, %.2f MiB in use, %.1f resident\n", done, of, what,
                seconds, mebibytes(held.memory), mebibytes(held.resident));
    std::fflush(stdout);
}

void Run::playUntil(std::size_t sent, const Elements& elements,
                    const std::function<void()>& meanwhile) {
    std::atomic<bool> isOver = false;
    std::vector<std::thread> players;
    for (std::size_t i = 0; i < m_settings.threads; ++i) {
        Elements own;
        for (std::size_t j = i; j < elements.size(); j += m_settings.threads)
            own.push_back(elements[j]);
        players.emplace_back([this, own = std::move(own), &isOver] { play(own, isOver); });
    }
    while (m_sent < sent && g_isStopped == 0) {
        std::this_thread::sleep_for(1ms);
        meanwhile();
    }
    isOver = true;
    for (std::thread& player : players) player.join();
}

void Run::sendMessages(std::size_t count, bool held) {
    m_inOrder = !held;
    sso_api_control_set_held(held ? 1 : 0);
    Elements elements;
    for (std::size_t i = 0; i < m_settings.elements; ++i) elements.push_back(embed());

    std::atomic<bool> isFinished = false;
    std::vector<std::thread> finishers;
    for (std::size_t i = 0; held && i < kFinishers; ++i) {
        finishers.emplace_back([&] { finishOperations(isFinished); });
    }
    const std::size_t begin = m_sent;
    MemoryCurve inUse;
    MemoryCurve resident;
    for (std::size_t pause = 1; pause <= kPauses && g_isStopped == 0; ++pause) {
        playUntil(begin + count * pause / kPauses, elements, [&] {
            progress(held ? "messages, ended by four threads" : "messages", m_sent - begin, count);
        });
        waitForAnswers(elements);
        m_host->takeMessages();  // told of already
        const Holdings held = holdings();
        inUse.add(static_cast<double>(pause) / kPauses, held.memory);
        resident.add(static_cast<double>(pause) / kPauses, held.resident);
    }
    isFinished = true;
    for (std::thread& finisher : finishers) finisher.join();
    const double share = resident.last() / resident.second();
    const double more = inUse.last() - inUse.second();
    std::printf(
        "soak: in the last quarter %.4f times the resident memory of the second, and %.0f bytes "
        "more in use\n",
        share, more);
    // A shorter run's second quarter still fills what is kept for later.
    if (count >= kFlat && (share > 1.01 || more > kMore)) mistake("memory grows");
    for (const auto& element : elements) remove(element);
    m_host->takeMessages();
}

void Run::removeElements() {
    sso_api_control_set_held(1);
    m_inOrder = false;
    for (; m_removed < m_settings.removals && g_isStopped == 0; ++m_removed) {
        const auto element = embed();
        for (int i = 0; i < 5; ++i, ++m_sent) m_host->post(element->instance(), element->next());
        // Now the plug-in has them, and now it has not.
        if (m_removed % 2 == 0) m_host->drain(element->instance(), kPatience);
        remove(element);
        m_host->takeMessages();
        progress("elements removed", m_removed, m_settings.removals);
    }
    if (sso_api_control_outstanding() != 0) mistake("operations of elements that are gone");
    sso_api_control_set_held(0);
}

bool Run::finish() {
    m_host->unload();
    for (const std::string& problem : m_host->problems()) mistake(problem);
    for (const std::string& problem : m_host->resourceProblems()) mistake(problem);
    for (const host::HeldVar& var : m_host->moduleHeldVars()) mistake("held: " + var.preview);
    for (const host::LiveResource& resource : m_host->liveResources()) {
        mistake("a resource is left of instance " + std::to_string(resource.instance));
    }
    m_host.reset();
    const Holdings after = holdings();
    if (after.threads > m_before.threads) mistake("threads are left over");
    if (after.files > m_before.files) mistake("files are left over");
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - m_begin).count();
    std::printf("soak: %zu messages, %zu answers, %zu elements removed, %zu mistakes, in %.0f s\n",
                m_sent.load(), m_answered.load(), m_removed, m_mistakes.load(), seconds);
    return m_mistakes == 0;
}

/// Becomes this program once more, with one heap for all threads and nothing put by for each: what the allocator keeps
/// for later grows for hours and is no growth of what is held.
void runWithAPlainHeap(char** argv) {
    constexpr const char* kVariable = "GLIBC_TUNABLES";
    if (std::getenv(kVariable) != nullptr) return;
    setenv(kVariable, "glibc.malloc.arena_max=1:glibc.malloc.tcache_count=0", 1);
    execv("/proc/self/exe", argv);
    throw std::system_error(errno, std::generic_category(), "cannot start once more");
}

int run(int argc, char** argv) {
    Settings settings;
    CLI::App app("Sends messages for a long time, and looks at what becomes of them.");
    app.add_option("--module", settings.module, "The plug-in")->required();
    app.add_option("--messages", settings.messages)->capture_default_str();
    app.add_option("--elements", settings.elements)
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--threads", settings.threads)
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--removals", settings.removals)->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    for (const int signal : {SIGINT, SIGTERM}) {
        std::signal(signal, [](int) { g_isStopped = 1; });
    }
    runWithAPlainHeap(argv);
    setenv("DLOG_LEVEL", "silent", 0);
    Run soak(settings);
    soak.sendMessages(settings.messages / 2, false);
    if (g_isStopped == 0) soak.sendMessages(settings.messages / 2, true);
    if (g_isStopped == 0) soak.removeElements();
    const bool isWell = soak.finish();
    if (g_isStopped != 0) return 130;
    return isWell ? 0 : 1;
}

}  // namespace
}  // namespace soak

int main(int argc, char** argv) { return soak::run(argc, argv); }
