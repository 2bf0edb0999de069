#include "recording_extension.h"

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "host/var_conversion.h"
#include "host/var_table.h"
#include "runtime/ppb_extension_system_korvane.h"

namespace support {
namespace {

using host::Value;

constexpr const char* kCall = "vendor table";
constexpr std::int32_t kFailed = -2;

std::atomic<RecordingExtension*> g_current{nullptr};

Value contentOf(PP_Var var) {
    return host::toValue(kCall, var).value.value_or(Value(Value::Undefined{}));
}

}  // namespace

std::string identifierOf(Privilege privilege) {
    const char* other = std::getenv("SSO_TEST_ORIGIN");
    const std::string path =
        std::string(other != nullptr ? other : SSO_PRIVILEGE_ORIGIN) + "/privilege/sso.";
    if (privilege == kPartner) return path + "partner";
    return path + (privilege == kPlatform ? "platform" : "public");
}

RecordingExtension::RecordingExtension(Recorder& recorder) : m_recorder(recorder) {
    grant(kNone);
    g_current = this;
}

RecordingExtension::~RecordingExtension() {
    g_current = nullptr;
    for (const PP_Var& var : m_lent) {
        host::VarTable::instance().release(host::Holder::Host, kCall, var);
    }
}

const void* RecordingExtension::table() {
    static const PPB_ExtensionSystem_Korvane_0_1 table = {
        &RecordingExtension::getEmbedderName, &RecordingExtension::getCurrentExtensionInfo,
        &RecordingExtension::genericSyncCall};
    return &table;
}

void RecordingExtension::grant(unsigned privileges) {
    std::set<std::string> granted;
    for (const Privilege privilege : {kPartner, kPlatform, kPublic}) {
        if ((privileges & privilege) != 0) granted.insert(identifierOf(privilege));
    }
    answer([granted](const std::string& operation, const Value& parameter) {
        if (operation != "check_ace_privilege" || !parameter.isString()) {
            return Answer{kFailed, {}};
        }
        return Answer{0, granted.count(parameter.asString()) > 0};
    });
}

void RecordingExtension::answer(std::function<Answer(const std::string&, const Value&)> chooser) {
    const std::lock_guard lock(m_mutex);
    m_chooser = std::move(chooser);
}

std::vector<PP_Instance> RecordingExtension::askers() const {
    const std::lock_guard lock(m_mutex);
    return m_askers;
}

std::vector<std::int64_t> RecordingExtension::givenVars() const {
    const std::lock_guard lock(m_mutex);
    return m_given;
}

PP_Var RecordingExtension::getEmbedderName(PP_Instance) {
    RecordingExtension* self = g_current;
    if (self == nullptr) return PP_MakeUndefined();
    self->m_recorder.record(Supplier::Extension, "GetEmbedderName()");
    return self->give("QuarnWRT");
}

PP_Var RecordingExtension::getCurrentExtensionInfo(PP_Instance) {
    RecordingExtension* self = g_current;
    if (self == nullptr) return PP_MakeUndefined();
    self->m_recorder.record(Supplier::Extension, "GetCurrentExtensionInfo()");
    return self->give(Value::Dictionary{});
}

std::int32_t RecordingExtension::genericSyncCall(PP_Instance instance, PP_Var name,
                                                 PP_Var parameter, PP_Var* result) {
    RecordingExtension* self = g_current;
    if (self == nullptr) return kFailed;
    const Value operation = contentOf(name);
    const Value argument = contentOf(parameter);
    const std::string operationName = operation.isString() ? operation.asString() : "";

    std::ostringstream what;
    what << "GenericSyncCall(" << operationName << ", " << argument << ")";
    self->m_recorder.record(Supplier::Extension, what.str());

    std::function<Answer(const std::string&, const Value&)> chooser;
    {
        const std::lock_guard lock(self->m_mutex);
        self->m_askers.push_back(instance);
        chooser = self->m_chooser;
    }
    const Answer answer = chooser(operationName, argument);
    if (answer.code == 0) {
        *result = self->give(answer.value);
    } else {
        *result = host::toVar(kCall, answer.value);
        const std::lock_guard lock(self->m_mutex);
        self->m_lent.push_back(*result);
    }
    return answer.code;
}

PP_Var RecordingExtension::give(const Value& value) {
    const PP_Var var = host::toVar(kCall, value);
    host::VarTable::instance().giveToModule(kCall, var);
    if (var.type >= PP_VARTYPE_STRING) {
        const std::lock_guard lock(m_mutex);
        m_given.push_back(var.value.as_id);
    }
    return var;
}

}  // namespace support
