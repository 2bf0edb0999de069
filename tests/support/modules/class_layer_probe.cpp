// The class layer as a module has it, with a way to call it from outside.

#include "class_layer_probe.h"

#include <memory>

#include "ppapi/cpp/completion_callback.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/module_embedder.h"
#include "ppapi/cpp/rect.h"
#include "ppapi/cpp/var_dictionary.h"
#include "ppapi/utility/threading/simple_thread.h"

namespace {

class ProbeModule : public pp::Module {
  protected:
    pp::Instance* CreateInstance(PP_Instance instance) override {
        return std::make_unique<pp::Instance>(instance).release();
    }
};

class SilentHandler : public pp::MessageHandler {
  public:
    void HandleMessage(pp::InstanceHandle, const pp::Var&) override {}
    pp::Var HandleBlockingMessage(pp::InstanceHandle, const pp::Var&) override { return {}; }
    void WasUnregistered(pp::InstanceHandle) override {}
};

SilentHandler g_handler;

PP_Var makeText(const char* text) { return pp::Var(text).Detach(); }

std::string readText(PP_Var text) {
    pp::Var var(pp::PASS_REF, text);
    std::string content = var.AsString();
    var.Detach();
    return content;
}

PP_Var copy(PP_Var var) {
    const pp::Var first(var);
    const pp::Var second(first);
    pp::Var third;
    third = second;
    return third.Detach();
}

DictionaryResults useDictionary() {
    pp::VarDictionary dictionary;
    return {dictionary.is_null(), dictionary.Set(pp::Var(1), pp::Var(2)),
            dictionary.HasKey(pp::Var(1)), dictionary.Get(pp::Var(1)).is_undefined()};
}

LoopResults useLoop(PP_Instance instance) {
    pp::MessageLoop loop{pp::InstanceHandle(instance)};
    LoopResults results;
    results.isNull = loop.is_null();
    results.mainIsNull = pp::MessageLoop::GetForMainThread().is_null();
    results.attach = loop.AttachToCurrentThread();
    results.currentIsNull = pp::MessageLoop::GetCurrent().is_null();
    results.postWork = loop.PostWork(pp::CompletionCallback());
    results.postQuit = loop.PostQuit(true);
    results.run = loop.Run();
    return results;
}

bool useThread(PP_Instance instance) {
    pp::SimpleThread thread{pp::InstanceHandle(instance)};
    return thread.Start() && thread.Join();
}

void postMessage(PP_Instance instance, std::int32_t number) {
    pp::Instance(instance).PostMessage(number);
}

std::int32_t registerHandler(PP_Instance instance) {
    return pp::Instance(instance).RegisterMessageHandler(&g_handler, pp::MessageLoop());
}

void unregisterHandler(PP_Instance instance) { pp::Instance(instance).UnregisterMessageHandler(); }

std::int32_t viewWidths(PP_Resource resource) {
    const pp::View view(resource);
    return view.GetRect().width() + view.GetClipRect().width();
}

std::int32_t moduleNumber() { return pp::Module::Get()->pp_module(); }

const ClassLayerProbe kProbe = {&makeText,          &readText,   &copy,        &useDictionary,
                                &useLoop,           &useThread,  &postMessage, &registerHandler,
                                &unregisterHandler, &viewWidths, &moduleNumber};

}  // namespace

pp::Module* pp::CreateModule() { return std::make_unique<ProbeModule>().release(); }

extern "C" __attribute__((visibility("default"))) const ClassLayerProbe* classLayerProbe();
extern "C" const ClassLayerProbe* classLayerProbe() { return &kProbe; }
