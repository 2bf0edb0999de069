#include "handler_probe.h"

#include "PluginSSO.h"

namespace {

class Handler : public HandlerProbe {
  public:
    explicit Handler(PP_Instance instance) : m_instance(instance), m_handler(&m_instance) {}

    void registerOnThisThread() override { m_handler.Register(); }
    void wasUnregistered(PP_Instance instance) override {
        m_handler.WasUnregistered(pp::InstanceHandle(instance));
    }
    bool checkPrivilege(const std::string& command) override {
        return m_handler.m_CheckPrivilege(command);
    }
    void respond(const std::string& command, int status, const std::string& errorName,
                 const std::string& errorMessage, const std::vector<std::string>* keys,
                 const std::vector<PP_Var>& values, int count) override {
        std::vector<std::string> keyArray = keys != nullptr ? *keys : std::vector<std::string>();
        std::vector<pp::Var> valueArray;
        for (const PP_Var& value : values) {
            valueArray.emplace_back(value);
        }
        m_handler.m_ResponseData(command, status, errorName, errorMessage,
                                 keys != nullptr ? keyArray.data() : nullptr, valueArray.data(),
                                 count);
    }

  private:
    class Exposed : public CPluginSSOMessageHandler {
      public:
        using CPluginSSOMessageHandler::CPluginSSOMessageHandler;
        using CPluginSSOMessageHandler::m_CheckPrivilege;
        using CPluginSSOMessageHandler::m_ResponseData;
    };

    pp::Instance m_instance;
    Exposed m_handler;
};

std::unique_ptr<HandlerProbe> makeHandler(PP_Instance instance) {
    return std::make_unique<Handler>(instance);
}

void makeHandlerWithoutInstance() { const CPluginSSOMessageHandler handler(nullptr); }

void callThreadFunction(PP_Instance instance) {
    pp::Instance* object = pp::Module::Get()->InstanceForPPInstance(instance);
    static_cast<CPluginSSO*>(object)->ThreadFunction(0);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const HandlerProbes handlerProbes = {
    &makeHandler, &makeHandlerWithoutInstance, &callThreadFunction};
