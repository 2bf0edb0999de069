#ifndef SUPPORT_MODULES_CLASS_LAYER_PROBE_H_
#define SUPPORT_MODULES_CLASS_LAYER_PROBE_H_

#include <cstdint>
#include <string>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"
#include "ppapi/c/pp_var.h"

/// What the functions of pp::MessageLoop gave.
struct LoopResults {
    bool isNull = false;
    std::int32_t attach = 0;
    std::int32_t run = 0;
    std::int32_t postWork = 0;
    std::int32_t postQuit = 0;
    bool mainIsNull = false;
    bool currentIsNull = false;
};

/// What the functions of pp::VarDictionary gave.
struct DictionaryResults {
    bool isNull = false;
    bool set = false;
    bool hasKey = false;
    bool getIsUndefined = false;
};

/// A class layer of a module's own: what it remembers of the browser is fresh with each load. Vars
/// that are passed in are borrowed; vars that come back carry one reference for the caller.
struct ClassLayerProbe {
    PP_Var (*makeText)(const char* text);
    /// Reads without adding a reference.
    std::string (*readText)(PP_Var text);
    /// A copy, by way of the constructors and the assignment.
    PP_Var (*copy)(PP_Var var);
    DictionaryResults (*useDictionary)();
    /// The calling thread gets the loop for its life.
    LoopResults (*useLoop)(PP_Instance instance);
    /// Starts and joins a thread. @return whether both succeeded.
    bool (*useThread)(PP_Instance instance);
    void (*postMessage)(PP_Instance instance, std::int32_t number);
    /// @return what RegisterMessageHandler returned.
    std::int32_t (*registerHandler)(PP_Instance instance);
    void (*unregisterHandler)(PP_Instance instance);
    /// Widths of the view and of its clip, added up.
    std::int32_t (*viewWidths)(PP_Resource view);
    std::int32_t (*moduleNumber)();
};

#endif
