#include "ppapi/cpp/resource.h"

#include "ppapi/cpp/core.h"
#include "ppapi/cpp/logging.h"
#include "ppapi/cpp/module.h"

namespace pp {
namespace {

void addRef(PP_Resource resource) {
    if (resource != 0) {
        Module::Get()->core()->AddRefResource(resource);
    }
}

void release(PP_Resource resource) {
    if (resource != 0) {
        Module::Get()->core()->ReleaseResource(resource);
    }
}

}  // namespace

Resource::Resource(const Resource& other) : Resource(other.pp_resource_) {}

Resource::Resource(PP_Resource resource) : pp_resource_(resource) { addRef(pp_resource_); }

Resource::~Resource() { release(pp_resource_); }

Resource& Resource::operator=(const Resource& other) {
    // The new one first: `other` may be this object, or be kept alive by the old resource.
    addRef(other.pp_resource_);
    release(pp_resource_);
    pp_resource_ = other.pp_resource_;
    return *this;
}

void Resource::PassRefFromConstructor(PP_Resource resource) {
    PP_DCHECK(is_null());
    pp_resource_ = resource;
}

}  // namespace pp
