#include "wrapper/documents.h"

#include <cstdint>
#include <stdexcept>

namespace browser {

/// The browser's "PPB_URLUtil(Dev);0.6" as far as it is used here; the other functions are not.
struct UrlTable {
    void (*unused[4])();
    PP_Bool (*documentCanRequest)(PP_Instance instance, PP_Var url);
    void (*unusedToo)();
    PP_Var (*getDocumentUrl)(PP_Instance instance, void* parts);
};
static_assert(sizeof(UrlTable) == 7 * sizeof(void*), "a table of functions, without gaps");

namespace {

constexpr const char* kUrlInterface = "PPB_URLUtil(Dev);0.6";

}  // namespace

Documents::Documents(PPB_GetInterface getInterface)
    : m_urls(static_cast<const UrlTable*>(getInterface(kUrlInterface))),
      m_vars(static_cast<const PPB_Var*>(getInterface(PPB_VAR_INTERFACE))) {
    if (m_urls == nullptr || m_vars == nullptr) {
        throw std::runtime_error(std::string("this browser has no ") + kUrlInterface +
                                 ", which tells applications apart");
    }
}

bool Documents::isOf(PP_Instance instance, const std::string& origin) const {
    const PP_Var url =
        m_vars->VarFromUtf8(origin.data(), static_cast<std::uint32_t>(origin.size()));
    const PP_Bool can = m_urls->documentCanRequest(instance, url);
    m_vars->Release(url);
    return can == PP_TRUE;
}

std::string Documents::addressOf(PP_Instance instance) const {
    const PP_Var url = m_urls->getDocumentUrl(instance, nullptr);
    if (url.type != PP_VARTYPE_STRING) return {};
    std::uint32_t length = 0;
    const char* data = m_vars->VarToUtf8(url, &length);
    std::string text = data == nullptr ? std::string() : std::string(data, length);
    m_vars->Release(url);
    return text;
}

}  // namespace browser
