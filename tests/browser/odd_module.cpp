// A module whose code at load does what no module should, so that nothing else of it ever runs.

#include <signal.h>
#include <unistd.h>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppp.h"

namespace {

struct AtLoad {
    AtLoad() {
#ifdef SSO_EXITS
        _exit(0);
#else
        signal(SIGALRM, SIG_IGN);
        for (;;) pause();
#endif
    }
} atLoad;

}  // namespace

int32_t PPP_InitializeModule(PP_Module, PPB_GetInterface) { return PP_ERROR_FAILED; }
const void* PPP_GetInterface(const char*) { return nullptr; }
