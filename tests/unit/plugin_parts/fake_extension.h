#ifndef PLUGIN_PARTS_FAKE_EXTENSION_H_
#define PLUGIN_PARTS_FAKE_EXTENSION_H_

#include <functional>
#include <string>
#include <vector>

#include "host/value.h"
#include "runtime/ppb_extension_system_korvane.h"

/// A vendor table whose answers a test sets, and that remembers what it was asked. One at a time.
class FakeExtension {
  public:
    struct Call {
        PP_Instance instance;
        host::Value operation;
        host::Value param;
        bool operator==(const Call& other) const {
            return instance == other.instance && operation == other.operation &&
                   param == other.param;
        }
    };

    FakeExtension();
    ~FakeExtension();
    FakeExtension(const FakeExtension&) = delete;
    FakeExtension& operator=(const FakeExtension&) = delete;

    const PPB_ExtensionSystem_Korvane_0_1* table() const;

    host::Value m_name = "QuarnWRT";
    host::Value m_info;
    int32_t m_code = 0;
    host::Value m_result;  ///< left in the slot for any code, as a careless embedder would
    std::vector<Call> m_calls;
    std::vector<PP_Instance> m_nameAsked;
    std::vector<PP_Instance> m_infoAsked;
};

/// A var with a value's content; one reference on the module's account.
PP_Var moduleVar(const host::Value& value);
/// The content of a var, and one reference less on the module's account.
host::Value takeValue(PP_Var var);

#endif
