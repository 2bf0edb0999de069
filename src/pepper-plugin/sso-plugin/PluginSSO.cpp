#include "PluginSSO.h"

#include <sys/prctl.h>

#include <memory>

#include "PluginLog.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/module_embedder.h"
#include "trace/library.h"

namespace {

constexpr char kLogTag[] = "QPP_BASE";
constexpr char kLogFile[] = "PluginSSO";

}  // namespace

CPluginSSO::CPluginSSO(PP_Instance instance)
    : pp::Instance(instance), m_oMessageHandler(this), m_oCallbackFactory(this) {
    const pp::InstanceHandle handle(this);
    // Owned here until nothing can fail any more: a constructor that throws has no destructor.
    auto worker = std::make_unique<pp::SimpleThreadAwaitLoop>(handle);
    // Names the thread that makes instances. The worker, started from it below, inherits the name.
    prctl(PR_SET_NAME, "qpp.sso", 0, 0);
    SSO_LOG_FLOW("[PluginSSO] begin m_poAdditionalThread->Start()", 11);
    worker->Start();
    SSO_LOG_FLOW("[PluginSSO] begin RegisterMessageHandler", 14);
    if (RegisterMessageHandler(&m_oMessageHandler, worker->message_loop()) == PP_OK) {
        SSO_LOG_FLOW("[PluginSSO] RegisterMessageHandler success", 18);
    } else {
        SSO_LOG_ERROR("[PluginSSO] RegisterMessageHandler Fail", 22);
    }
    m_poAdditionalThread = worker.release();
}

CPluginSSO::~CPluginSSO() { delete m_poAdditionalThread; }

bool CPluginSSO::Init(uint32_t, const char*[], const char*[]) { return true; }

void CPluginSSO::ThreadFunction(int32_t) { m_oMessageHandler.Register(); }

CPluginSSOModule::~CPluginSSOModule() = default;

pp::Instance* CPluginSSOModule::CreateInstance(PP_Instance instance) {
    return new CPluginSSO(instance);
}

namespace pp {

Module* CreateModule() { return new CPluginSSOModule(); }

}  // namespace pp
