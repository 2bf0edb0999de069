#ifndef PPAPI_CPP_MODULE_EMBEDDER_H_
#define PPAPI_CPP_MODULE_EMBEDDER_H_

namespace pp {

class Module;

/// Supplied by the module's author: makes the one Module object of the process. Called on the main
/// thread; the caller owns the result. Null refuses the load.
__attribute__((visibility("default"))) Module* CreateModule();

}  // namespace pp

#endif
