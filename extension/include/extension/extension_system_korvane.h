#ifndef EXTENSION_EXTENSION_SYSTEM_KORVANE_H_
#define EXTENSION_EXTENSION_SYSTEM_KORVANE_H_

#include <string>

#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/module_impl.h"
#include "ppapi/cpp/var.h"
#include "runtime/ppb_extension_system_korvane.h"

namespace pp {
namespace {

template <>
inline const char* interface_name<PPB_ExtensionSystem_Korvane_0_1>() {
    return PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1;
}

}  // namespace

// Include these wrappers in one source file of a module: the table that was looked up, below, is
// private to the file.

/// The runtime's vendor interface for one instance, as typed calls. Nothing throws: where the
/// runtime does not offer the interface, or a call fails, the result is a neutral value. One object
/// belongs to one thread at a time.
class ExtensionSystemKorvane {
  public:
    explicit ExtensionSystemKorvane(const InstanceHandle& instance)
        : instance_(instance.pp_instance()) {}
    ExtensionSystemKorvane(const ExtensionSystemKorvane&) = delete;
    ExtensionSystemKorvane& operator=(const ExtensionSystemKorvane&) = delete;

    /// @return the embedder's name; "" when it is not known or no string.
    std::string GetEmbedderName() const {
        const auto* extension = get_interface<PPB_ExtensionSystem_Korvane_0_1>();
        if (extension == nullptr) {
            return std::string();
        }
        const Var name(PASS_REF, extension->GetEmbedderName(instance_));
        return name.is_string() ? name.AsString() : std::string();
    }

    /// @return what the runtime tells of the extension that it runs, of any type; undefined when
    ///     the interface is missing.
    Var GetCurrentExtensionInfo() {
        const auto* extension = get_interface<PPB_ExtensionSystem_Korvane_0_1>();
        if (extension == nullptr) {
            return Var();
        }
        return Var(PASS_REF, extension->GetCurrentExtensionInfo(instance_));
    }

    /// Runs an operation of the embedder and waits for it.
    ///
    /// @param operation  its name, a string.
    /// @param param  whatever the operation takes.
    /// @return its answer; undefined when it failed or the interface is missing.
    Var GenericSyncCall(const Var& operation, const Var& param) {
        const auto* extension = get_interface<PPB_ExtensionSystem_Korvane_0_1>();
        if (extension == nullptr) {
            return Var();
        }
        PP_Var result = PP_MakeUndefined();
        const int32_t code =
            extension->GenericSyncCall(instance_, operation.pp_var(), param.pp_var(), &result);
        // A failing call hands no reference over, whatever it left in the slot.
        return code == 0 ? Var(PASS_REF, result) : Var();
    }

  private:
    PP_Instance instance_;
};

}  // namespace pp

#endif
