#include "layer_test.h"

#include <memory>

#include "ppapi/cpp/module_embedder.h"

namespace {

LayerHooks* g_hooks = nullptr;

class LayerModule : public pp::Module {
  public:
    bool Init() override { return !g_hooks->init || g_hooks->init(*this); }

  protected:
    pp::Instance* CreateInstance(PP_Instance instance) override {
        if (g_hooks->createInstance) return g_hooks->createInstance(instance);
        return std::make_unique<pp::Instance>(instance).release();
    }
};

}  // namespace

pp::Module* pp::CreateModule() {
    if (g_hooks->createModule) return g_hooks->createModule();
    return std::make_unique<LayerModule>().release();
}

LayerTest::LayerTest() { g_hooks = &m_hooks; }

LayerTest::~LayerTest() { g_hooks = nullptr; }

void LayerTest::TearDown() {
    if (!m_host) return;
    m_host->unload();
    EXPECT_THAT(m_host->problems(), ::testing::IsEmpty());
    EXPECT_THAT(m_host->moduleHeldVars(), ::testing::IsEmpty());
    EXPECT_THAT(m_host->resourceProblems(), ::testing::IsEmpty());
    EXPECT_THAT(m_host->liveResources(), ::testing::IsEmpty());
    m_host.reset();
}

host::PluginHost& LayerTest::load(host::PluginHost::Options options) {
    options.entryPoints =
        host::EntryPoints{&PPP_InitializeModule, &PPP_GetInterface, &PPP_ShutdownModule};
    m_host.emplace(std::move(options));
    return *m_host;
}

PP_Instance LayerTest::page(host::PluginHost::Options options) {
    const PP_Instance instance = load(std::move(options)).embed();
    EXPECT_TRUE(m_host->drain(instance));
    return instance;
}

std::vector<std::string> LayerTest::operationsOf(const std::function<void()>& function) {
    host::VarTable& table = host::VarTable::instance();
    table.recordOperations(true);
    onMain(function);
    table.recordOperations(false);
    std::vector<std::string> steps;
    for (const host::VarOperation& step : table.operations()) {
        steps.push_back(step.call + (step.change > 0 ? " +" : " -"));
    }
    return steps;
}

int LayerTest::references(PP_Resource resource) const {
    for (const host::LiveResource& live : m_host->liveResources()) {
        if (live.id == resource) return live.references;
    }
    return 0;
}

int LayerTest::references(const PP_Var& var) const {
    for (const host::HeldVar& held : m_host->moduleHeldVars()) {
        if (held.id == var.value.as_id) return held.references;
    }
    return 0;
}
