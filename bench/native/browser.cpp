#include "native/browser.h"

#include <dlfcn.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "embedder/vendor_table.h"
#include "native/work_queue.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp.h"

namespace bench {

std::size_t (*g_allocations)() = nullptr;

namespace {

// --- What is counted

enum Function : std::size_t {
    kAddRef,
    kRelease,
    kVarFromUtf8,
    kVarToUtf8,
    kDictionaryCreate,
    kDictionaryGet,
    kDictionarySet,
    kDictionaryHasKey,
    kPostMessage,
    kFunctions
};

constexpr std::array<const char*, kFunctions> kNames = {
    "PPB_Var.AddRef",        "PPB_Var.Release",          "PPB_Var.VarFromUtf8",
    "PPB_Var.VarToUtf8",     "PPB_VarDictionary.Create", "PPB_VarDictionary.Get",
    "PPB_VarDictionary.Set", "PPB_VarDictionary.HasKey", "PPB_Messaging.PostMessage"};

bool g_isCounting = false;
std::array<std::size_t, kFunctions> g_calls{};
std::size_t g_allocationsInTables = 0;

/// One call of a table's function, while it lasts.
class Call {
  public:
    explicit Call(Function function) {
        if (!g_isCounting) return;
        ++g_calls[function];
        m_before = g_allocations != nullptr ? g_allocations() : 0;
    }
    ~Call() {
        if (g_isCounting && g_allocations != nullptr) {
            g_allocationsInTables += g_allocations() - m_before;
        }
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

  private:
    std::size_t m_before = 0;
};

// --- Vars: the id is the address

struct CountedVar {
    std::atomic<int> references{1};
    std::string text;
    std::vector<std::pair<std::string, PP_Var>> entries;
};

PP_Var toVar(PP_VarType type, CountedVar* counted) {
    PP_Var var = PP_MakeUndefined();
    var.type = type;
    var.value.as_id = reinterpret_cast<std::int64_t>(counted);
    return var;
}

bool isCounted(const PP_Var& var) { return var.type > PP_VARTYPE_DOUBLE; }

CountedVar& counted(const PP_Var& var) {
    return *reinterpret_cast<CountedVar*>(var.value.as_id);  // NOLINT(performance-no-int-to-ptr)
}

void keep(const PP_Var& var) {
    if (isCounted(var)) counted(var).references.fetch_add(1, std::memory_order_relaxed);
}

const PP_Var* find(const PP_Var& dictionary, const std::string& key) {
    for (const auto& [name, value] : counted(dictionary).entries) {
        if (name == key) return &value;
    }
    return nullptr;
}

void set(const PP_Var& dictionary, const std::string& key, const PP_Var& value) {
    keep(value);
    for (auto& [name, present] : counted(dictionary).entries) {
        if (name != key) continue;
        release(present);
        present = value;
        return;
    }
    counted(dictionary).entries.emplace_back(key, value);
}

// --- Threads and instances

struct Handler {
    const PPP_MessageHandler_0_2* table = nullptr;
    void* data = nullptr;
    WorkQueue* loop = nullptr;
};

std::mutex g_mutex;
std::map<PP_Instance, Handler> g_handlers;
struct Loop {
    int references = 1;
    WorkQueue queue;
};
std::map<PP_Resource, Loop> g_loops;
PP_Resource g_lastLoop = 0;
thread_local PP_Resource t_loop = 0;
AnswerCount g_answers;

WorkQueue* loopOf(PP_Resource loop) {
    const std::lock_guard lock(g_mutex);
    const auto found = g_loops.find(loop);
    return found != g_loops.end() ? &found->second.queue : nullptr;
}

void changeReferences(PP_Resource loop, int by) {
    const std::lock_guard lock(g_mutex);
    const auto found = g_loops.find(loop);
    if (found != g_loops.end() && (found->second.references += by) == 0) g_loops.erase(found);
}

Handler handlerOf(PP_Instance instance) {
    const std::lock_guard lock(g_mutex);
    return g_handlers.at(instance);
}

// --- Tables

const PPB_Core kCore = {[](PP_Resource loop) { changeReferences(loop, 1); },
                        [](PP_Resource loop) { changeReferences(loop, -1); },
                        [] { return 0.0; },
                        [] { return 0.0; },
                        [](int32_t, PP_CompletionCallback, int32_t) {},
                        [] { return PP_TRUE; }};

const PPB_Var kVars = {[](PP_Var var) {
                           const Call call(kAddRef);
                           keep(var);
                       },
                       [](PP_Var var) {
                           const Call call(kRelease);
                           release(var);
                       },
                       [](const char* data, uint32_t size) {
                           const Call call(kVarFromUtf8);
                           auto made = std::make_unique<CountedVar>();
                           made->text.assign(data, size);
                           return toVar(PP_VARTYPE_STRING, made.release());
                       },
                       [](PP_Var var, uint32_t* size) -> const char* {
                           const Call call(kVarToUtf8);
                           if (var.type != PP_VARTYPE_STRING) return nullptr;
                           *size = static_cast<uint32_t>(counted(var).text.size());
                           return counted(var).text.data();
                       },
                       [](PP_Var) -> PP_Resource { return 0; },
                       [](PP_Resource) { return PP_MakeNull(); }};

const PPB_VarDictionary kDictionaries = {
    [] {
        const Call call(kDictionaryCreate);
        return toVar(PP_VARTYPE_DICTIONARY, std::make_unique<CountedVar>().release());
    },
    [](PP_Var dictionary, PP_Var key) {
        const Call call(kDictionaryGet);
        const PP_Var* value = find(dictionary, counted(key).text);
        if (value == nullptr) return PP_MakeUndefined();
        keep(*value);
        return *value;
    },
    [](PP_Var dictionary, PP_Var key, PP_Var value) {
        const Call call(kDictionarySet);
        set(dictionary, counted(key).text, value);
        return PP_TRUE;
    },
    [](PP_Var, PP_Var) {},
    [](PP_Var dictionary, PP_Var key) {
        const Call call(kDictionaryHasKey);
        return PP_FromBool(find(dictionary, counted(key).text) != nullptr);
    },
    [](PP_Var) { return PP_MakeNull(); }};

const PPB_Messaging kMessaging = {
    [](PP_Instance, PP_Var) {
        const Call call(kPostMessage);
        g_answers.add();
    },
    [](PP_Instance instance, void* data, const PPP_MessageHandler_0_2* table, PP_Resource loop) {
        WorkQueue* queue = loopOf(loop);
        const std::lock_guard lock(g_mutex);
        g_handlers[instance] = {table, data, queue};
        return static_cast<int32_t>(PP_OK);
    },
    [](PP_Instance) {}};

const PPB_MessageLoop kLoops = {
    [](PP_Instance) {
        const std::lock_guard lock(g_mutex);
        g_loops[++g_lastLoop];
        return g_lastLoop;
    },
    []() -> PP_Resource { return 0; },
    []() -> PP_Resource { return t_loop; },
    [](PP_Resource loop) {
        t_loop = loop;
        return static_cast<int32_t>(PP_OK);
    },
    [](PP_Resource loop) {
        loopOf(loop)->run();
        return static_cast<int32_t>(PP_OK);
    },
    [](PP_Resource loop, PP_CompletionCallback callback, int64_t) {
        loopOf(loop)->add([callback] { callback.func(callback.user_data, PP_OK); });
        return static_cast<int32_t>(PP_OK);
    },
    [](PP_Resource loop, PP_Bool) {
        loopOf(loop)->quit();
        return static_cast<int32_t>(PP_OK);
    }};

const void* getInterface(const char* name) {
    struct Row {
        const char* name;
        const void* table;
    };
    const Row rows[] = {
        {PPB_CORE_INTERFACE, &kCore},
        {PPB_VAR_INTERFACE, &kVars},
        {PPB_VAR_DICTIONARY_INTERFACE, &kDictionaries},
        {PPB_MESSAGING_INTERFACE, &kMessaging},
        {PPB_MESSAGELOOP_INTERFACE, &kLoops},
        {PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1, embedder::vendorTable()},
    };
    for (const Row& row : rows) {
        if (std::strcmp(row.name, name) == 0) return row.table;
    }
    return nullptr;
}

template <typename Function>
Function* entryPoint(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

}  // namespace

std::map<std::string, std::size_t> tableCalls() {
    std::map<std::string, std::size_t> calls;
    for (std::size_t i = 0; i < kFunctions; ++i) {
        if (g_calls[i] != 0) calls[kNames[i]] = g_calls[i];
    }
    return calls;
}

void countTableCalls(bool on) {
    g_isCounting = on;
    if (on) {
        g_calls.fill(0);
        g_allocationsInTables = 0;
    }
}

std::size_t allocationsInTables() { return g_allocationsInTables; }

PP_Var text(const char* utf8) {
    return kVars.VarFromUtf8(utf8, static_cast<uint32_t>(std::strlen(utf8)));
}

PP_Var request(std::initializer_list<std::pair<const char*, const char*>> texts) {
    const PP_Var dictionary = kDictionaries.Create();
    for (const auto& [key, value] : texts) {
        const PP_Var var = text(value);
        set(dictionary, key, var);
        release(var);
    }
    return dictionary;
}

void release(const PP_Var& var) {
    if (!isCounted(var)) return;
    if (counted(var).references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    const std::unique_ptr<CountedVar> gone(&counted(var));
    for (const auto& [name, value] : gone->entries) release(value);
}

std::size_t answers() { return g_answers.count(); }
void waitForAnswers(std::size_t count) { g_answers.wait(count); }

Module::Module(const std::string& path) : m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (m_library == nullptr) throw std::runtime_error(dlerror());
    embedder::setBrowser(&getInterface);
    const auto initialize =
        entryPoint<int32_t(PP_Module, PPB_GetInterface)>(m_library, "PPP_InitializeModule");
    const auto offer = entryPoint<const void*(const char*)>(m_library, "PPP_GetInterface");
    if (initialize == nullptr || offer == nullptr || initialize(1, &getInterface) != PP_OK) {
        dlclose(m_library);
        throw std::runtime_error(path + " does not start");
    }
    m_instances = static_cast<const PPP_Instance_1_1*>(offer(PPP_INSTANCE_INTERFACE_1_1));
}

Module::~Module() {
    entryPoint<void()>(m_library, "PPP_ShutdownModule")();
    dlclose(m_library);
}

PP_Instance Module::make() {
    static PP_Instance last = 0;
    const PP_Instance instance = ++last;
    embedder::Application application;
    for (const char* name : {"sso.partner", "sso.platform", "sso.public"}) {
        application.grants.insert(std::string(SSO_PRIVILEGE_ORIGIN "/privilege/") + name);
    }
    embedder::setApplication(instance, application);
    if (m_instances->DidCreate(instance, 0, nullptr, nullptr) != PP_TRUE) {
        throw std::runtime_error("the module refuses an instance");
    }
    return instance;
}

void Module::destroy(PP_Instance instance) {
    m_instances->DidDestroy(instance);
    embedder::forgetInstance(instance);
    const std::lock_guard lock(g_mutex);
    g_handlers.erase(instance);
}

void post(PP_Instance instance, const PP_Var& message) {
    const Handler handler = handlerOf(instance);
    keep(message);
    handler.loop->add([instance, handler, message] {
        handler.table->HandleMessage(instance, handler.data, &message);
        release(message);
    });
}

PP_Var call(PP_Instance instance, const PP_Var& message) {
    const Handler handler = handlerOf(instance);
    PP_Var response = PP_MakeUndefined();
    handler.loop->runAndWait(
        [&] { handler.table->HandleBlockingMessage(instance, handler.data, &message, &response); });
    return response;
}

void handle(PP_Instance instance, const PP_Var& message) {
    const Handler handler = handlerOf(instance);
    handler.table->HandleMessage(instance, handler.data, &message);
}

PP_Var handleBlocking(PP_Instance instance, const PP_Var& message) {
    const Handler handler = handlerOf(instance);
    PP_Var response = PP_MakeUndefined();
    handler.table->HandleBlockingMessage(instance, handler.data, &message, &response);
    return response;
}

}  // namespace bench
