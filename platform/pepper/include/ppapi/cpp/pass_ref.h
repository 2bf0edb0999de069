#ifndef PPAPI_CPP_PASS_REF_H_
#define PPAPI_CPP_PASS_REF_H_

namespace pp {

/// Tag of a constructor that takes over the reference its caller holds, instead of adding one.
enum PassRef { PASS_REF };

}  // namespace pp

#endif
