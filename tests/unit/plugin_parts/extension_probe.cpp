#include "extension_probe.h"

#include "extension/extension_system_korvane_wrt.h"
#include "ppapi/c/ppp.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/module_embedder.h"

namespace {

class Extension : public ExtensionProbe {
  public:
    explicit Extension(PP_Instance instance) : m_extension(pp::InstanceHandle(instance)) {}

    std::string embedderName() override { return m_extension.GetEmbedderName(); }
    PP_Var currentExtensionInfo() override {
        return m_extension.GetCurrentExtensionInfo().Detach();
    }
    PP_Var genericSyncCall(PP_Var operation, PP_Var param) override {
        return m_extension.GenericSyncCall(pp::Var(operation), pp::Var(param)).Detach();
    }
    bool checkPrivilege(PP_Var privilege) override {
        return m_extension.CheckPrivilege(pp::Var(privilege));
    }
    bool setImeRecommendedWords(PP_Var words) override {
        return m_extension.SetIMERecommendedWords(pp::Var(words));
    }
    bool setImeRecommendedWordsType(bool type) override {
        return m_extension.SetIMERecommendedWordsType(type);
    }
    int32_t windowId() override { return m_extension.GetWindowId(); }
    bool isValid() override { return m_extension.IsValid(); }

  private:
    pp::ExtensionSystemKorvaneWRT m_extension;
};

class Module : public pp::Module {
  protected:
    pp::Instance* CreateInstance(PP_Instance) override { return nullptr; }
};

std::unique_ptr<ExtensionProbe> make(PP_Instance instance) {
    return std::make_unique<Extension>(instance);
}

}  // namespace

namespace pp {
pp::Module* CreateModule() { return new ::Module(); }
}  // namespace pp

extern "C" __attribute__((visibility("default"))) const MakeExtension makeExtension = &make;
