#ifndef EXTENSION_EXTENSION_SYSTEM_KORVANE_WRT_H_
#define EXTENSION_EXTENSION_SYSTEM_KORVANE_WRT_H_

#include <map>
#include <string>

#include "extension/extension_system_korvane_quarn.h"

namespace pp {

/// The operations of the web runtime's embedder.
class ExtensionSystemKorvaneWRT : public ExtensionSystemKorvaneQuarn {
  public:
    explicit ExtensionSystemKorvaneWRT(const InstanceHandle& instance)
        : ExtensionSystemKorvaneQuarn(instance) {}

    /// @return whether the embedder is the web runtime. Asked once in the process: the first answer
    ///     holds for every object from then on.
    bool IsValid() const {
        static const bool is_valid = GetEmbedderName() == "QuarnWRT";
        return is_valid;
    }

  private:
    // Part of the object's layout, which the runtime's other plug-ins share; nothing fills it.
    std::map<std::string, bool> wrt_cache_;
};

}  // namespace pp

#endif
