#ifndef PPAPI_CPP_MODULE_H_
#define PPAPI_CPP_MODULE_H_

#include <map>
#include <string>

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_module.h"
#include "ppapi/c/ppb.h"

namespace pp {

class Core;
class Instance;

/// The module: one object per process, made by CreateModule(). It makes an Instance for each
/// embedding. All functions but Get(), core() and GetBrowserInterface() belong to the main thread.
class Module {
  public:
    typedef std::map<PP_Instance, Instance*> InstanceMap;

    /// Must not call the browser: nothing is known of it yet.
    Module();
    virtual ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// The module of this process, null until PPP_InitializeModule has succeeded.
    static Module* Get();

    /// Called once the browser can be asked for interfaces; false refuses the load. Get() is
    /// still null in here.
    virtual bool Init();

    PP_Module pp_module() const { return pp_module_; }
    PPB_GetInterface get_browser_interface() const { return get_browser_interface_; }
    /// Valid from Init() on.
    Core* core() { return core_; }

    /// What the module offers the browser, null for an unknown name.
    const void* GetPluginInterface(const char* interface_name);
    /// What the browser offers the module, null for an unknown name. Any thread.
    const void* GetBrowserInterface(const char* interface_name);
    /// Null for an unknown instance, and inside an instance's destructor.
    Instance* InstanceForPPInstance(PP_Instance instance);
    const InstanceMap& current_instances() const { return current_instances_; }

    /// Entry point's half of PPP_InitializeModule. False when the browser has no core interface
    /// or when Init() refuses.
    bool InternalInit(PP_Module mod, PPB_GetInterface get_browser_interface);

  protected:
    /// A new instance, owned by the browser's instance until DidDestroy. Null refuses it.
    virtual Instance* CreateInstance(PP_Instance instance) = 0;

  private:
    friend PP_Bool Instance_DidCreate(PP_Instance, uint32_t, const char*[], const char*[]);
    friend void Instance_DidDestroy(PP_Instance);

    InstanceMap current_instances_;
    PP_Module pp_module_;
    PPB_GetInterface get_browser_interface_;
    Core* core_;
};

}  // namespace pp

#endif
