#ifndef BENCH_BROWSER_H_
#define BENCH_BROWSER_H_

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_message_handler.h"

/// The least browser that a module runs in: it checks nothing, so that little of its own is measured, and
/// it counts. There is one in a process; modules share it.
namespace bench {

/// What a module has asked of the browser's tables, by function. All threads together; only one thread at
/// a time counts right.
std::map<std::string, std::size_t> tableCalls();

/// Whether calls are counted. Off at first.
void countTableCalls(bool on);

/// Told of the allocations of this thread so far; what the browser's functions allocate is no cost of the
/// module's. Null at first.
extern std::size_t (*g_allocations)();
/// Those of the browser's functions, while calls are counted.
std::size_t allocationsInTables();

/// A dictionary of texts; one reference for the caller.
PP_Var request(std::initializer_list<std::pair<const char*, const char*>> texts);
PP_Var text(const char* utf8);
void release(const PP_Var& var);

/// How many messages the modules have posted to their pages, and the wait for so many.
std::size_t answers();
void waitForAnswers(std::size_t count);

/// A loaded module. Made and used on one thread, which is its main thread.
class Module {
  public:
    /// @throws std::runtime_error
    explicit Module(const std::string& path);
    /// Unloads it. Its instances are gone.
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// Makes an instance that holds all privileges. @throws std::runtime_error  when it is refused.
    PP_Instance make();
    void destroy(PP_Instance instance);

  private:
    void* m_library;
    const PPP_Instance_1_1* m_instances;
};

/// As a page's postMessage(): handled on the instance's worker. The var is borrowed.
void post(PP_Instance instance, const PP_Var& message);

/// As a page's postMessageAndAwaitResponse(), on the instance's worker. @return one reference.
PP_Var call(PP_Instance instance, const PP_Var& message);

/// The two again, on the calling thread.
void handle(PP_Instance instance, const PP_Var& message);
PP_Var handleBlocking(PP_Instance instance, const PP_Var& message);

}  // namespace bench

#endif
