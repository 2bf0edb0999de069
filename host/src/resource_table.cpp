#include "resource_table.h"

namespace host {
namespace {

constexpr std::size_t kMaxProblems = 1000;

}  // namespace

ResourceTable& ResourceTable::instance() {
    // Never destroyed: a module's thread may still release a resource while the process ends.
    static base::NeverDestroyed<ResourceTable> table;
    return *table;
}

PP_Resource ResourceTable::add(Entry entry) {
    const std::lock_guard lock(m_mutex);
    const PP_Resource id = m_nextId++;
    m_resources.emplace(id, std::move(entry));
    return id;
}

PP_Resource ResourceTable::addLoop(PP_Instance instance, std::shared_ptr<MessageLoop> loop,
                                   const char* call) {
    Entry entry;
    entry.kind = ResourceKind::MessageLoop;
    entry.loop = std::move(loop);
    entry.instance = instance;
    entry.origin = call;
    entry.moduleReferences = 1;
    return add(std::move(entry));
}

PP_Resource ResourceTable::addMainLoop(std::shared_ptr<MessageLoop> loop) {
    Entry entry;
    entry.kind = ResourceKind::MessageLoop;
    entry.loop = std::move(loop);
    entry.origin = "module start";
    entry.hostReferences = 1;
    return add(std::move(entry));
}

PP_Resource ResourceTable::addView(PP_Instance instance) {
    Entry entry;
    entry.instance = instance;
    entry.origin = "PPP_Instance.DidChangeView";
    entry.hostReferences = 1;
    return add(std::move(entry));
}

const ResourceTable::Entry* ResourceTable::find(PP_Resource resource) const {
    const auto it = m_resources.find(resource);
    return it == m_resources.end() || it->second.dead ? nullptr : &it->second;
}

void ResourceTable::addRef(PP_Resource resource) {
    const std::lock_guard lock(m_mutex);
    const auto it = m_resources.find(resource);
    if (it != m_resources.end()) ++it->second.moduleReferences;
}

void ResourceTable::release(PP_Resource resource) { drop(resource, &Entry::moduleReferences); }

void ResourceTable::addHostReference(PP_Resource resource) {
    const std::lock_guard lock(m_mutex);
    const auto it = m_resources.find(resource);
    if (it != m_resources.end()) ++it->second.hostReferences;
}

void ResourceTable::dropHostReference(PP_Resource resource) {
    drop(resource, &Entry::hostReferences);
}

bool ResourceTable::addVarReference(PP_Resource resource) {
    const std::lock_guard lock(m_mutex);
    if (find(resource) == nullptr) return false;
    ++m_resources.at(resource).varReferences;
    return true;
}

void ResourceTable::dropVarReference(PP_Resource resource) {
    drop(resource, &Entry::varReferences);
}

void ResourceTable::drop(PP_Resource resource, int Entry::*account) {
    Entry last;  // dies after the lock is released, and a loop's tasks with it
    const std::lock_guard lock(m_mutex);
    const auto it = m_resources.find(resource);
    if (it == m_resources.end() || it->second.*account == 0) {
        if (account == &Entry::moduleReferences && resource != 0 &&
            m_problems.size() < kMaxProblems) {
            m_problems.push_back("PPB_Core.ReleaseResource without owning a reference: resource " +
                                 std::to_string(resource));
        }
        return;
    }
    Entry& entry = it->second;
    --(entry.*account);
    if (entry.moduleReferences + entry.hostReferences + entry.varReferences > 0) return;
    last = std::move(entry);
    m_resources.erase(it);
}

bool ResourceTable::isView(PP_Resource resource) const {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(resource);
    return entry != nullptr && entry->kind == ResourceKind::View;
}

std::shared_ptr<MessageLoop> ResourceTable::loop(PP_Resource resource) const {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(resource);
    return entry == nullptr ? nullptr : entry->loop;
}

void ResourceTable::instanceDied(PP_Instance instance) {
    std::vector<std::shared_ptr<MessageLoop>> loops;  // die after the lock is released
    const std::lock_guard lock(m_mutex);
    for (auto& [id, entry] : m_resources) {
        if (entry.instance != instance || (entry.loop != nullptr && !entry.loop->isUnattached())) {
            continue;
        }
        entry.dead = true;
        loops.push_back(std::move(entry.loop));
    }
}

std::vector<LiveResource> ResourceTable::liveResources() const {
    const std::lock_guard lock(m_mutex);
    std::vector<LiveResource> live;
    for (const auto& [id, entry] : m_resources) {
        if (entry.moduleReferences == 0) continue;
        const char* kind = entry.kind == ResourceKind::View ? "view"
                           : entry.instance == 0            ? "main message loop"
                                                            : "message loop";
        live.push_back(
            {id, kind, entry.instance, entry.moduleReferences, entry.dead, entry.origin});
    }
    return live;
}

std::vector<std::string> ResourceTable::problems() const {
    const std::lock_guard lock(m_mutex);
    return m_problems;
}

void ResourceTable::reset() {
    std::map<PP_Resource, Entry> resources;  // dies after the lock is released
    const std::lock_guard lock(m_mutex);
    resources.swap(m_resources);
    m_problems.clear();
}

}  // namespace host
