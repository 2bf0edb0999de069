#ifndef PLUGIN_PARTS_EXTENSION_PROBE_H_
#define PLUGIN_PARTS_EXTENSION_PROBE_H_

#include <memory>
#include <string>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

/// One object of the extension wrappers. Vars that are passed in are borrowed; vars that come back
/// carry one reference on the module's account.
class ExtensionProbe {
  public:
    virtual ~ExtensionProbe() = default;
    virtual std::string embedderName() = 0;
    virtual PP_Var currentExtensionInfo() = 0;
    virtual PP_Var genericSyncCall(PP_Var operation, PP_Var param) = 0;
    virtual bool checkPrivilege(PP_Var privilege) = 0;
    virtual bool setImeRecommendedWords(PP_Var words) = 0;
    virtual bool setImeRecommendedWordsType(bool type) = 0;
    virtual int32_t windowId() = 0;
    virtual bool isValid() = 0;
};

/// What the module exports, as "makeExtension".
using MakeExtension = std::unique_ptr<ExtensionProbe> (*)(PP_Instance instance);

#endif
