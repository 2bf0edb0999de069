#ifndef CLASS_LAYER_LAYER_TEST_H_
#define CLASS_LAYER_LAYER_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "browser_tables.h"
#include "event_log.h"
#include "host/plugin_host.h"
#include "ppapi/c/ppp.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/module.h"
#include "thread_signal.h"
#include "work.h"

/// What the test program's own module does; the class layer is linked into the program.
struct LayerHooks {
    /// Default: a module that does what the other hooks say. May give null.
    std::function<pp::Module*()> createModule;
    std::function<bool(pp::Module&)> init;
    /// Default: a plain pp::Instance. May give null.
    std::function<pp::Instance*(PP_Instance)> createInstance;
};

/// The class layer in a host. Fails when anything is left behind that the layer has to give back.
class LayerTest : public ::testing::Test {
  protected:
    using Value = host::Value;

    LayerTest();
    ~LayerTest() override;
    void TearDown() override;

    host::PluginHost& load(host::PluginHost::Options options = {});
    /// Loads the module and embeds one instance, which has seen its view.
    PP_Instance page(host::PluginHost::Options options = {});

    void onMain(const std::function<void()>& function) { m_host->runOnMain(function); }

    /// The changes of the module's references that a function made on the main thread, each as the
    /// function of the browser and the sign: "PPB_Var.AddRef +".
    std::vector<std::string> operationsOf(const std::function<void()>& function);

    /// The module's references to a resource.
    int references(PP_Resource resource) const;
    /// The module's references to a var.
    int references(const PP_Var& var) const;

    // Work that the loops may still hold outlives them.
    support::Work m_work;
    LayerHooks m_hooks;
    std::optional<host::PluginHost> m_host;
};

#endif
