#include "wrapper/page_urls.h"

#include <cstdint>
#include <stdexcept>

namespace browser {

/// Where a part of a URL is in its text; -1 long when the URL has no such part.
struct UrlPart {
    std::int32_t begin;
    std::int32_t length;
};

struct UrlParts {
    UrlPart scheme, user, password, host, port, path, query, fragment;
};

/// The browser's "PPB_URLUtil(Dev);0.6" as far as it is used here; the functions between are not.
struct UrlTable {
    PP_Var (*canonicalize)(PP_Var url, UrlParts* parts);
    void (*unused[5])();
    PP_Var (*getDocumentUrl)(PP_Instance instance, UrlParts* parts);
};
static_assert(sizeof(UrlTable) == 7 * sizeof(void*), "a table of functions, without gaps");
static_assert(sizeof(UrlParts) == 64, "eight parts of two numbers");

namespace {

constexpr const char* kUrlInterface = "PPB_URLUtil(Dev);0.6";

/// Takes over the var's reference.
std::optional<Place> takePlace(const PPB_Var& vars, const PP_Var& url, const UrlParts& parts) {
    if (url.type != PP_VARTYPE_STRING) return std::nullopt;
    std::uint32_t length = 0;
    const char* data = vars.VarToUtf8(url, &length);
    const std::string text = data == nullptr ? std::string() : std::string(data, length);
    vars.Release(url);
    const auto part = [&text](const UrlPart& where) {
        if (where.length <= 0) return std::string();
        return text.substr(static_cast<std::size_t>(where.begin),
                           static_cast<std::size_t>(where.length));
    };
    return Place{part(parts.scheme), part(parts.host), part(parts.port), part(parts.path)};
}

}  // namespace

PageUrls::PageUrls(PPB_GetInterface getInterface)
    : m_urls(static_cast<const UrlTable*>(getInterface(kUrlInterface))),
      m_vars(static_cast<const PPB_Var*>(getInterface(PPB_VAR_INTERFACE))) {
    if (m_urls == nullptr || m_vars == nullptr) {
        throw std::runtime_error(std::string("this browser has no ") + kUrlInterface +
                                 ", which tells applications apart");
    }
}

std::optional<Place> PageUrls::pageOf(PP_Instance instance) const {
    UrlParts parts{};
    const PP_Var url = m_urls->getDocumentUrl(instance, &parts);
    return takePlace(*m_vars, url, parts);
}

std::optional<Place> PageUrls::placeOf(const std::string& url) const {
    const PP_Var given = m_vars->VarFromUtf8(url.data(), static_cast<std::uint32_t>(url.size()));
    UrlParts parts{};
    const PP_Var canonical = m_urls->canonicalize(given, &parts);
    m_vars->Release(given);
    return takePlace(*m_vars, canonical, parts);
}

}  // namespace browser
