#include "host/browser_interfaces.h"

#include <cstring>

#include "tables.h"

namespace host {
namespace {

struct Offer {
    const char* name;
    const void* table;
};

const Offer kOffers[] = {
    {PPB_CORE_INTERFACE_1_0, &kCore10},
    {PPB_MESSAGELOOP_INTERFACE_1_0, &kMessageLoop10},
    {PPB_MESSAGING_INTERFACE_1_0, &kMessaging10},
    {PPB_MESSAGING_INTERFACE_1_2, &kMessaging12},
    {PPB_VAR_INTERFACE_1_0, &kVar10},
    {PPB_VAR_INTERFACE_1_1, &kVar11},
    {PPB_VAR_INTERFACE_1_2, &kVar12},
    {PPB_VAR_ARRAY_INTERFACE_1_0, &kVarArray10},
    {PPB_VAR_ARRAY_BUFFER_INTERFACE_1_0, &kVarArrayBuffer10},
    {PPB_VAR_DICTIONARY_INTERFACE_1_0, &kVarDictionary10},
    {PPB_VIEW_INTERFACE_1_0, &kView10},
};

}  // namespace

const void* browserInterface(const char* name) {
    for (const Offer& offer : kOffers) {
        if (std::strcmp(offer.name, name) == 0) return offer.table;
    }
    return nullptr;
}

}  // namespace host
