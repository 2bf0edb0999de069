#include "host/plugin_host.h"

#include <exception>
#include <future>
#include <limits>
#include <thread>

#include "delivery.h"
#include "host/var_conversion.h"
#include "host_state.h"
#include "module_library.h"
#include "resource_table.h"
#include "this_thread.h"

namespace host {
namespace {

const void* getBrowserInterface(const char* name) {
    const std::shared_ptr<HostState> state = HostState::current();
    return state == nullptr ? nullptr : state->getInterface(name);
}

// Waits until a loop has done what is due now. A loop that dies meanwhile has done all it will.
bool passThrough(MessageLoop& loop, std::chrono::steady_clock::time_point deadline) {
    auto passed = std::make_shared<std::promise<void>>();
    const std::future<void> done = passed->get_future();
    if (!loop.postIfAttached([passed] { passed->set_value(); })) return true;
    passed.reset();
    return done.wait_until(deadline) == std::future_status::ready;
}

}  // namespace

class PluginHost::Impl {
  public:
    explicit Impl(Options options) : m_state(std::make_shared<HostState>(std::move(options))) {}

    void start();
    /// @throws std::logic_error  when the module is unloaded.
    void requireModule() const;
    void stop();

    PP_Instance create(const Attributes& attributes,
                       const std::function<void(PP_Instance)>& beforeCreate);
    bool remove(PP_Instance instance);
    void runOnMain(const std::function<void()>& function);
    void postToMain(MessageLoop::Task task);

    HostState& state() { return *m_state; }
    const std::shared_ptr<HostState>& sharedState() { return m_state; }
    ModuleLibrary& module() { return m_module; }

  private:
    void mainThread(std::promise<void> loaded);
    void changeView(PP_Instance instance);

    const std::shared_ptr<HostState> m_state;
    ModuleLibrary m_module;
    std::exception_ptr m_loadFailure;  // of the main thread, for the one that waits for it
    std::thread m_thread;
};

void PluginHost::Impl::start() {
    std::promise<void> loaded;
    std::future<void> result = loaded.get_future();
    m_thread = std::thread(&Impl::mainThread, this, std::move(loaded));
    result.get();
    if (m_loadFailure != nullptr) {
        m_thread.join();
        m_module.close();
        HostState::uninstall();
        std::rethrow_exception(std::exchange(m_loadFailure, nullptr));
    }
}

void PluginHost::Impl::mainThread(std::promise<void> loaded) {
    nameThisThread("pepper-main");
    m_state->enterMainThread();
    try {
        m_module.open(m_state->options());
        m_module.initialize(getBrowserInterface);
    } catch (...) {
        m_loadFailure = std::current_exception();
    }
    const bool failed = m_loadFailure != nullptr;
    loaded.set_value();
    if (failed) return;
    m_state->mainLoop().run();
    m_module.shutdown();
    m_state->leaveMainThread();
}

void PluginHost::Impl::stop() {
    if (!m_thread.joinable()) return;
    runOnMain([this] {
        for (const PP_Instance instance : m_state->instances().ids()) remove(instance);
    });
    m_state->mainLoop().postQuit(true);
    m_thread.join();
    m_module.close();
    VarTable::instance().noteLeaks();
    HostState::uninstall();
}

void PluginHost::Impl::requireModule() const {
    if (!m_state->mainLoop().isAttached()) throw std::logic_error("the module is unloaded");
}

void PluginHost::Impl::postToMain(MessageLoop::Task task) {
    if (!m_state->mainLoop().post(std::move(task))) requireModule();
}

void PluginHost::Impl::runOnMain(const std::function<void()>& function) {
    if (m_state->isMainThread()) {
        function();
        return;
    }
    // The main thread lets go of the exception before it says that it is done.
    std::exception_ptr failure;
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> result = done->get_future();
    postToMain([done, &function, &failure] {
        try {
            function();
        } catch (...) {
            failure = std::current_exception();
        }
        done->set_value();
    });
    done.reset();
    result.get();
    if (failure != nullptr) std::rethrow_exception(std::exchange(failure, nullptr));
}

PP_Instance PluginHost::Impl::create(const Attributes& attributes,
                                     const std::function<void(PP_Instance)>& beforeCreate) {
    const PPP_Instance_1_1* table = m_module.instanceInterface();
    if (table == nullptr) throw EmbedError("the module has no " PPP_INSTANCE_INTERFACE_1_1);
    for (const auto& [isThere, function] :
         {std::pair(table->DidCreate != nullptr, "DidCreate"),
          std::pair(table->DidDestroy != nullptr, "DidDestroy")}) {
        if (!isThere) {
            throw EmbedError(std::string("the module's " PPP_INSTANCE_INTERFACE_1_1 " has no ") +
                             function);
        }
    }

    std::vector<const char*> names;
    std::vector<const char*> values;
    for (const auto& [name, value] : attributes) {
        names.push_back(name.c_str());
        values.push_back(value.c_str());
    }
    names.push_back(nullptr);  // so that neither array is ever null
    values.push_back(nullptr);

    const PP_Instance instance = m_state->instances().add();
    if (beforeCreate) beforeCreate(instance);
    if (table->DidCreate(instance, static_cast<std::uint32_t>(attributes.size()), names.data(),
                         values.data()) == PP_FALSE) {
        remove(instance);
        throw EmbedError("the module refused the instance: DidCreate returned PP_FALSE");
    }
    for (auto early = m_state->instances().makeReady(instance); !early.empty();
         early = m_state->instances().makeReady(instance)) {
        for (const Message& message : early) m_state->page().deliver(message);
    }
    m_state->mainLoop().post([this, instance] { changeView(instance); });
    return instance;
}

void PluginHost::Impl::changeView(PP_Instance instance) {
    const PPP_Instance_1_1* table = m_module.instanceInterface();
    if (!m_state->instances().isReady(instance) || table->DidChangeView == nullptr) return;
    ResourceTable& resources = ResourceTable::instance();
    const PP_Resource view = resources.addView(instance);
    table->DidChangeView(instance, view);
    resources.dropHostReference(view);
}

bool PluginHost::Impl::remove(PP_Instance instance) {
    if (!m_state->instances().beginEnd(instance)) return false;
    m_module.instanceInterface()->DidDestroy(instance);
    m_state->instances().end(instance);
    ResourceTable::instance().instanceDied(instance);
    return true;
}

PluginHost::PluginHost(Options options) {
    if (HostState::current() != nullptr) {
        throw std::logic_error("this process already has a PluginHost with a module");
    }
    VarTable::instance().reset();
    ResourceTable::instance().reset();
    m_impl = std::make_unique<Impl>(std::move(options));
    if (!HostState::install(m_impl->sharedState())) {
        throw std::logic_error("this process already has a PluginHost with a module");
    }
    m_impl->start();
}

PluginHost::~PluginHost() {
    try {
        m_impl->stop();
    } catch (...) {
        std::terminate();  // the module would run on, with the host's memory gone
    }
}

void PluginHost::unload() { m_impl->stop(); }

bool PluginHost::moduleIsLoaded() const { return m_impl->module().isMapped(); }

PP_Instance PluginHost::embed(const Attributes& attributes,
                              const std::function<void(PP_Instance)>& beforeCreate) {
    PP_Instance instance = 0;
    m_impl->runOnMain([&] { instance = m_impl->create(attributes, beforeCreate); });
    return instance;
}

bool PluginHost::destroy(PP_Instance instance) {
    bool destroyed = false;
    m_impl->runOnMain([&] { destroyed = m_impl->remove(instance); });
    return destroyed;
}

std::vector<PP_Instance> PluginHost::instances() const { return m_impl->state().instances().ids(); }

void PluginHost::post(PP_Instance instance, const Value& value) {
    m_impl->postToMain([impl = m_impl.get(), instance, value] {
        deliverMessage(impl->state(), impl->module(), instance, value);
    });
}

bool PluginHost::postVar(PP_Instance instance, PP_Var var) {
    const Conversion conversion = toValue("postVar", var);
    if (!conversion.value) {
        m_impl->state().page().log("the page's message cannot be converted: " + conversion.reason);
        return false;
    }
    post(instance, *conversion.value);
    return true;
}

CallResult PluginHost::call(PP_Instance instance, const Value& value,
                            std::chrono::milliseconds timeout) {
    if (m_impl->state().isMainThread()) {
        throw std::logic_error("a blocking call on the module's main thread waits for itself");
    }
    // Kept here too: a loop that dies with the call on it leaves the page waiting, as in a browser.
    const auto answered = std::make_shared<std::promise<CallResult>>();
    std::future<CallResult> result = answered->get_future();
    m_impl->postToMain([impl = m_impl.get(), instance, value, answered] {
        deliverCall(impl->sharedState(), impl->module(), instance, value,
                    [answered](CallResult answer) { answered->set_value(std::move(answer)); });
    });
    if (result.wait_for(timeout) != std::future_status::ready) {
        return {CallResult::Status::TimedOut, {}};
    }
    return result.get();
}

void PluginHost::unregister(PP_Instance instance) {
    m_impl->requireModule();
    m_impl->state().instances().unregisterHandler(instance);
}

std::vector<Message> PluginHost::takeMessages() { return m_impl->state().page().takeMessages(); }

bool PluginHost::waitForMessages(std::size_t count, std::chrono::milliseconds timeout) {
    return m_impl->state().page().waitForMessages(count, timeout);
}

std::vector<std::string> PluginHost::consoleLines() const {
    return m_impl->state().page().consoleLines();
}

void PluginHost::runOnMain(const std::function<void()>& function) { m_impl->runOnMain(function); }

bool PluginHost::drain(PP_Instance instance, std::chrono::milliseconds timeout) {
    if (m_impl->state().isMainThread()) {
        throw std::logic_error("draining on the module's main thread waits for itself");
    }
    m_impl->requireModule();
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    HostState& state = m_impl->state();
    if (!passThrough(state.mainLoop(), deadline)) return false;
    if (const auto loop = state.instances().latestLoop(instance)) {
        if (!passThrough(*loop, deadline)) return false;
    }
    return passThrough(state.mainLoop(), deadline);
}

void PluginHost::failNextRegistration(std::int32_t result) {
    if (result == 0) throw std::invalid_argument("a registration cannot fail with PP_OK");
    m_impl->state().instances().failRegistrations(result, 1);
}

void PluginHost::setRegistrationResult(std::optional<std::int32_t> result) {
    if (result == 0) throw std::invalid_argument("a registration cannot fail with PP_OK");
    m_impl->state().instances().failRegistrations(
        result.value_or(0), result ? std::numeric_limits<std::size_t>::max() : 0);
}

std::vector<Registration> PluginHost::registrations() const {
    return m_impl->state().instances().registrations();
}

std::vector<std::string> PluginHost::problems() const { return VarTable::instance().problems(); }

std::vector<HeldVar> PluginHost::moduleHeldVars() const {
    return VarTable::instance().moduleHeldVars();
}

std::vector<LiveResource> PluginHost::liveResources() const {
    return ResourceTable::instance().liveResources();
}

std::vector<std::string> PluginHost::resourceProblems() const {
    return ResourceTable::instance().problems();
}

}  // namespace host
