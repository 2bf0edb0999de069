#ifndef PPAPI_CPP_URL_LOADER_H_
#define PPAPI_CPP_URL_LOADER_H_

#include "ppapi/cpp/resource.h"

namespace pp {

/// The loader of a full-frame document, as Instance::HandleDocumentLoad gets it.
class URLLoader : public Resource {
  public:
    URLLoader() = default;
    /// Adds a reference.
    explicit URLLoader(PP_Resource resource) : Resource(resource) {}
};

}  // namespace pp

#endif
