#ifndef PPAPI_CPP_RESOURCE_H_
#define PPAPI_CPP_RESOURCE_H_

#include "ppapi/c/pp_resource.h"
#include "ppapi/cpp/pass_ref.h"

namespace pp {

/// One reference on a browser resource; null holds none. Any thread.
class Resource {
  public:
    Resource() : pp_resource_(0) {}
    Resource(const Resource& other);
    virtual ~Resource();
    Resource& operator=(const Resource& other);

    bool is_null() const { return pp_resource_ == 0; }
    PP_Resource pp_resource() const { return pp_resource_; }

  protected:
    /// Adds a reference.
    explicit Resource(PP_Resource resource);
    /// Takes over the caller's reference.
    Resource(PassRef, PP_Resource resource) : pp_resource_(resource) {}
    /// For constructors that learn their resource late; takes over the caller's reference.
    void PassRefFromConstructor(PP_Resource resource);

  private:
    PP_Resource pp_resource_;
};

}  // namespace pp

#endif
