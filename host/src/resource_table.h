#ifndef HOST_SRC_RESOURCE_TABLE_H_
#define HOST_SRC_RESOURCE_TABLE_H_

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/never_destroyed.h"
#include "host/live_resource.h"
#include "message_loop.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

namespace host {

enum class ResourceKind { MessageLoop, View };

/// All resources of the process, with separate accounts for the module, the host and vars. Any
/// thread. Ids are never 0 and never reused; dead and unknown ids are ignored.
class ResourceTable {
  public:
    /// The one table. It outlives every thread.
    static ResourceTable& instance();

    ResourceTable(const ResourceTable&) = delete;
    ResourceTable& operator=(const ResourceTable&) = delete;

    /// With one reference on the module's account.
    PP_Resource addLoop(PP_Instance instance, std::shared_ptr<MessageLoop> loop, const char* call);
    PP_Resource addMainLoop(std::shared_ptr<MessageLoop> loop);  ///< one of the host
    PP_Resource addView(PP_Instance instance);                   ///< one of the host

    void addRef(PP_Resource resource);   ///< the module's account
    void release(PP_Resource resource);  ///< the module's account
    void addHostReference(PP_Resource resource);
    void dropHostReference(PP_Resource resource);
    bool addVarReference(PP_Resource resource);  ///< false for a dead or unknown id
    void dropVarReference(PP_Resource resource);

    bool isView(PP_Resource resource) const;
    /// Null when the id is dead, unknown, or no message loop.
    std::shared_ptr<MessageLoop> loop(PP_Resource resource) const;

    /// The instance's resources die, whoever holds them; only loops that have, or had, a thread go
    /// on. What the module holds stays on its account.
    void instanceDied(PP_Instance instance);

    std::vector<LiveResource> liveResources() const;
    std::vector<std::string> problems() const;
    void reset();

  private:
    struct Entry {
        ResourceKind kind = ResourceKind::View;
        std::shared_ptr<MessageLoop> loop;
        PP_Instance instance = 0;
        std::string origin;
        bool dead = false;
        int moduleReferences = 0;
        int hostReferences = 0;
        int varReferences = 0;
    };

    friend class base::NeverDestroyed<ResourceTable>;
    ResourceTable() = default;
    PP_Resource add(Entry entry);
    const Entry* find(PP_Resource resource) const;  // null for a dead one too
    void drop(PP_Resource resource, int Entry::*account);

    mutable std::mutex m_mutex;
    PP_Resource m_nextId = 501;
    std::map<PP_Resource, Entry> m_resources;
    std::vector<std::string> m_problems;
};

}  // namespace host

#endif
