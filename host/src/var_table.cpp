#include "host/var_table.h"

#include <utf8.h>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "resource_table.h"
#include "this_thread.h"

namespace host {
namespace {

constexpr std::size_t kMaxProblems = 1000;
constexpr std::size_t kMaxDead = 4096;
constexpr std::size_t kPreviewLength = 40;
constexpr std::size_t kPreviewKeys = 5;

bool isCounted(PP_Var var) { return var.type >= PP_VARTYPE_STRING; }

PP_Var varOf(PP_VarType type, std::int64_t id) {
    PP_Var var = PP_MakeUndefined();
    var.type = type;
    var.value.as_id = id;
    return var;
}

const char* kindOf(PP_VarType type) {
    switch (type) {
        case PP_VARTYPE_STRING:
            return "string";
        case PP_VARTYPE_ARRAY:
            return "array";
        case PP_VARTYPE_DICTIONARY:
            return "dictionary";
        case PP_VARTYPE_ARRAY_BUFFER:
            return "array buffer";
        case PP_VARTYPE_RESOURCE:
            return "resource";
        default:
            return "var";
    }
}

// Cut between characters is not needed: a broken last one is replaced.
std::string quoted(const std::string& text) {
    const std::string start = text.substr(0, kPreviewLength);
    return nlohmann::json(start).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
           (text.size() > kPreviewLength ? "..." : "");
}

VarContents contentsOf(PP_VarType type) {
    VarContents contents;
    contents.type = type;
    return contents;
}

}  // namespace

VarTable& VarTable::instance() {
    // Never destroyed: a module's thread may still release a var while the process ends.
    static base::NeverDestroyed<VarTable> table;
    return *table;
}

// Reports

std::vector<std::string> VarTable::problems() const {
    const std::lock_guard lock(m_mutex);
    return m_problems;
}

std::vector<HeldVar> VarTable::moduleHeldVars() const {
    const std::lock_guard lock(m_mutex);
    std::vector<HeldVar> held;
    for (const auto& [id, entry] : m_vars) {
        if (entry.moduleReferences == 0) continue;
        held.push_back({id, entry.contents.type, entry.moduleReferences, preview(entry.contents),
                        entry.origin});
    }
    std::sort(held.begin(), held.end(),
              [](const HeldVar& left, const HeldVar& right) { return left.id < right.id; });
    return held;
}

std::size_t VarTable::liveVarCount() const {
    const std::lock_guard lock(m_mutex);
    return m_vars.size();
}

void VarTable::recordOperations(bool on) {
    const std::lock_guard lock(m_mutex);
    if (on) m_operations.clear();
    m_recording = on;
}

std::vector<VarOperation> VarTable::operations(std::int64_t id) const {
    const std::lock_guard lock(m_mutex);
    std::vector<VarOperation> found;
    for (const VarOperation& operation : m_operations) {
        if (id == 0 || operation.id == id) found.push_back(operation);
    }
    return found;
}

void VarTable::noteLeaks() {
    const std::vector<HeldVar> held = moduleHeldVars();
    const std::lock_guard lock(m_mutex);
    for (const HeldVar& var : held) {
        const auto it = m_vars.find(var.id);
        if (it == m_vars.end()) continue;
        note("leak: the module kept " + std::to_string(var.references) +
             (var.references == 1 ? " reference to " : " references to ") +
             describe(var.id, it->second));
    }
}

void VarTable::reset() {
    std::unordered_map<std::int64_t, Entry> vars;
    const std::lock_guard lock(m_mutex);
    vars.swap(m_vars);
    m_dead.clear();
    m_deadOrder.clear();
    m_problems.clear();
    m_recording = false;
    m_operations.clear();
}

void VarTable::note(const std::string& problem) {
    if (m_problems.size() < kMaxProblems) m_problems.push_back(problem);
}

void VarTable::record(std::int64_t id, const Entry& entry, const char* call, int change) {
    if (!m_recording) return;
    m_operations.push_back(
        {id, call, change, entry.moduleReferences, preview(entry.contents), thisThreadName()});
}

std::string VarTable::preview(const VarContents& contents) {
    std::ostringstream out;
    out << kindOf(contents.type) << ' ';
    switch (contents.type) {
        case PP_VARTYPE_STRING:
            out << quoted(contents.text);
            break;
        case PP_VARTYPE_ARRAY:
            out << "of " << contents.elements.size();
            break;
        case PP_VARTYPE_DICTIONARY: {
            out << '{';
            std::size_t shown = 0;
            for (const auto& member : contents.members) {
                if (shown > 0) out << ", ";
                if (shown++ == kPreviewKeys) {
                    out << "...";
                    break;
                }
                out << quoted(member.first);
            }
            out << '}';
            break;
        }
        case PP_VARTYPE_ARRAY_BUFFER:
            out << "of " << contents.size << " bytes";
            break;
        default:
            out << contents.resource;
            break;
    }
    return out.str();
}

std::string VarTable::describe(std::int64_t id, const Entry& entry) {
    std::ostringstream out;
    out << "var " << id << " (" << preview(entry.contents) << "; from " << entry.origin.call
        << ", number " << entry.origin.number << ", thread \"" << entry.origin.thread << "\")";
    return out.str();
}

// Finding

VarTable::Entry* VarTable::find(const char* call, PP_Var var) {
    if (!isCounted(var)) return nullptr;
    const std::int64_t id = var.value.as_id;
    const auto it = m_vars.find(id);
    if (it == m_vars.end()) {
        const auto dead = m_dead.find(id);
        std::string which;
        if (dead != m_dead.end()) {
            which = "dead " + dead->second;
        } else {
            which = std::string("unknown or long dead ") + kindOf(var.type) + " var " +
                    std::to_string(id);
        }
        note(std::string(call) + ": " + which);
        return nullptr;
    }
    if (it->second.contents.type != var.type) {
        note(std::string(call) + ": tagged as " + kindOf(var.type) + ", but is " +
             describe(id, it->second));
        return nullptr;
    }
    return &it->second;
}

VarTable::Entry* VarTable::find(const char* call, PP_Var var, PP_VarType type) {
    Entry* entry = find(call, var);
    return entry != nullptr && entry->contents.type == type ? entry : nullptr;
}

const VarContents* VarTable::Reader::find(const char* call, PP_Var var) {
    const Entry* entry = m_table.find(call, var);
    return entry == nullptr ? nullptr : &entry->contents;
}

// Making

PP_Var VarTable::addOwned(const char* call, VarContents contents, int Entry::*account) {
    const std::int64_t id = m_nextId++;
    Entry& entry = m_vars[id];
    entry.contents = std::move(contents);
    entry.origin = {call, m_nextNumber++, thisThreadName()};
    entry.*account = 1;
    if (account == &Entry::moduleReferences) record(id, entry, call, 1);
    return varOf(entry.contents.type, id);
}

PP_Var VarTable::add(Holder holder, const char* call, VarContents contents) {
    const std::lock_guard lock(m_mutex);
    return addOwned(call, std::move(contents),
                    holder == Holder::Module ? &Entry::moduleReferences : &Entry::hostReferences);
}

PP_Var VarTable::makeString(Holder holder, const char* call, std::string_view text) {
    if (!utf8::is_valid(text)) return PP_MakeNull();
    VarContents contents = contentsOf(PP_VARTYPE_STRING);
    contents.text = text;
    return add(holder, call, std::move(contents));
}

PP_Var VarTable::makeArray(Holder holder, const char* call) {
    return add(holder, call, contentsOf(PP_VARTYPE_ARRAY));
}

PP_Var VarTable::makeDictionary(Holder holder, const char* call) {
    return add(holder, call, contentsOf(PP_VARTYPE_DICTIONARY));
}

PP_Var VarTable::makeBuffer(Holder holder, const char* call, std::uint32_t size) {
    VarContents contents = contentsOf(PP_VARTYPE_ARRAY_BUFFER);
    contents.size = size;
    if (size > 0) {
        contents.bytes.reset(static_cast<std::uint8_t*>(std::calloc(size, 1)));
        if (contents.bytes == nullptr) return PP_MakeNull();
    }
    return add(holder, call, std::move(contents));
}

PP_Var VarTable::makeResource(Holder holder, const char* call, PP_Resource resource) {
    if (resource != 0 && !ResourceTable::instance().addVarReference(resource)) return PP_MakeNull();
    VarContents contents = contentsOf(PP_VARTYPE_RESOURCE);
    contents.resource = resource;
    return add(holder, call, std::move(contents));
}

// References

VarTable::ChangeLock::~ChangeLock() {
    std::vector<PP_Resource> left;
    left.swap(m_table.m_leftResources);
    m_lock.unlock();
    for (const PP_Resource resource : left) ResourceTable::instance().dropVarReference(resource);
}

void VarTable::addRef(Holder holder, const char* call, PP_Var var) {
    const std::lock_guard lock(m_mutex);
    Entry* entry = find(call, var);
    if (entry == nullptr) return;
    ++entry->references(holder);
    if (holder == Holder::Module) record(var.value.as_id, *entry, call, 1);
}

void VarTable::release(Holder holder, const char* call, PP_Var var) {
    const ChangeLock lock(*this);
    Entry* entry = find(call, var);
    if (entry == nullptr) return;
    if (entry->references(holder) == 0) {
        note(std::string(call) +
             " without owning a reference: " + describe(var.value.as_id, *entry));
        return;
    }
    --entry->references(holder);
    if (holder == Holder::Module) record(var.value.as_id, *entry, call, -1);
    buryUnlessHeld(var.value.as_id);
}

bool VarTable::takeFromModule(const char* call, PP_Var var) {
    const std::lock_guard lock(m_mutex);
    if (!isCounted(var)) return true;
    const auto it = m_vars.find(var.value.as_id);
    if (it == m_vars.end() || it->second.contents.type != var.type) return false;
    Entry& entry = it->second;
    if (entry.moduleReferences == 0) {
        note(std::string(call) +
             " does not own its reference: " + describe(var.value.as_id, entry));
        return false;
    }
    --entry.moduleReferences;
    ++entry.hostReferences;
    record(var.value.as_id, entry, call, -1);
    return true;
}

void VarTable::giveToModule(const char* call, PP_Var var) {
    const std::lock_guard lock(m_mutex);
    Entry* entry = find(call, var);
    if (entry == nullptr) return;
    --entry->hostReferences;
    ++entry->moduleReferences;
    record(var.value.as_id, *entry, call, 1);
}

PP_Var VarTable::handOver(const char* call, PP_Var var) {
    if (!isCounted(var)) return var;
    Entry& entry = m_vars.at(var.value.as_id);  // a container's reference keeps it alive
    ++entry.moduleReferences;
    record(var.value.as_id, entry, call, 1);
    return var;
}

// What a container keeps of a value: itself with one reference more, or undefined for a dead one.
PP_Var VarTable::stored(const char* call, PP_Var value) {
    if (!isCounted(value)) return value;
    Entry* entry = find(call, value);
    if (entry == nullptr) return PP_MakeUndefined();
    ++entry->containerReferences;
    return value;
}

void VarTable::dropStored(PP_Var var) {
    if (!isCounted(var)) return;
    --m_vars.at(var.value.as_id).containerReferences;
    buryUnlessHeld(var.value.as_id);
}

// Containers are buried before their content, in a loop: depth costs no stack.
void VarTable::buryUnlessHeld(std::int64_t id) {
    if (m_vars.at(id).isHeld()) return;
    std::vector<std::int64_t> dying{id};
    while (!dying.empty()) {
        const auto it = m_vars.find(dying.back());
        dying.pop_back();
        const std::int64_t buried = it->first;
        const Entry entry = std::move(it->second);
        m_vars.erase(it);

        m_dead.emplace(buried, describe(buried, entry));
        m_deadOrder.push_back(buried);
        if (m_deadOrder.size() > kMaxDead) {
            m_dead.erase(m_deadOrder.front());
            m_deadOrder.pop_front();
        }

        const auto leave = [&](PP_Var child) {
            if (!isCounted(child)) return;
            Entry& left = m_vars.at(child.value.as_id);
            --left.containerReferences;
            if (!left.isHeld()) dying.push_back(child.value.as_id);
        };
        for (const PP_Var& child : entry.contents.elements) leave(child);
        for (const auto& member : entry.contents.members) leave(member.second);
        if (entry.contents.resource != 0) {
            m_leftResources.push_back(entry.contents.resource);
        }
    }
}

// Content

const char* VarTable::text(const char* call, PP_Var var, std::uint32_t* length) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, var, PP_VARTYPE_STRING);
    *length = entry == nullptr ? 0 : static_cast<std::uint32_t>(entry->contents.text.size());
    return entry == nullptr ? nullptr : entry->contents.text.c_str();
}

PP_Resource VarTable::resource(const char* call, PP_Var var) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, var, PP_VARTYPE_RESOURCE);
    if (entry == nullptr) return 0;
    ResourceTable::instance().addRef(entry->contents.resource);
    return entry->contents.resource;
}

PP_Var VarTable::member(const char* call, PP_Var dictionary, PP_Var key) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, dictionary, PP_VARTYPE_DICTIONARY);
    const Entry* keyEntry = find(call, key, PP_VARTYPE_STRING);
    if (entry == nullptr || keyEntry == nullptr) return PP_MakeUndefined();
    const auto found = entry->contents.members.find(keyEntry->contents.text);
    if (found == entry->contents.members.end()) return PP_MakeUndefined();
    return handOver(call, found->second);
}

bool VarTable::setMember(const char* call, PP_Var dictionary, PP_Var key, PP_Var value) {
    const ChangeLock lock(*this);
    Entry* entry = find(call, dictionary, PP_VARTYPE_DICTIONARY);
    const Entry* keyEntry = find(call, key, PP_VARTYPE_STRING);
    if (entry == nullptr || keyEntry == nullptr) return false;
    return putMember(call, *entry, keyEntry->contents.text, value);
}

bool VarTable::setMember(const char* call, PP_Var dictionary, const std::string& key,
                         PP_Var value) {
    const ChangeLock lock(*this);
    Entry* entry = find(call, dictionary, PP_VARTYPE_DICTIONARY);
    return entry != nullptr && putMember(call, *entry, key, value);
}

bool VarTable::putMember(const char* call, Entry& dictionary, const std::string& key,
                         PP_Var value) {
    PP_Var& slot = dictionary.contents.members.try_emplace(key, PP_MakeUndefined()).first->second;
    const PP_Var replaced = slot;
    slot = stored(call, value);
    dropStored(replaced);
    return true;
}

void VarTable::removeMember(const char* call, PP_Var dictionary, PP_Var key) {
    const ChangeLock lock(*this);
    Entry* entry = find(call, dictionary, PP_VARTYPE_DICTIONARY);
    const Entry* keyEntry = find(call, key, PP_VARTYPE_STRING);
    if (entry == nullptr || keyEntry == nullptr) return;
    const auto found = entry->contents.members.find(keyEntry->contents.text);
    if (found == entry->contents.members.end()) return;
    const PP_Var removed = found->second;
    entry->contents.members.erase(found);
    dropStored(removed);
}

bool VarTable::hasMember(const char* call, PP_Var dictionary, PP_Var key) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, dictionary, PP_VARTYPE_DICTIONARY);
    const Entry* keyEntry = find(call, key, PP_VARTYPE_STRING);
    return entry != nullptr && keyEntry != nullptr &&
           entry->contents.members.count(keyEntry->contents.text) > 0;
}

PP_Var VarTable::keys(const char* call, PP_Var dictionary) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, dictionary, PP_VARTYPE_DICTIONARY);
    if (entry == nullptr) return PP_MakeNull();
    VarContents list = contentsOf(PP_VARTYPE_ARRAY);
    // Adding keys leaves `entry` where it is: the map's nodes do not move.
    for (const auto& member : entry->contents.members) {
        VarContents key = contentsOf(PP_VARTYPE_STRING);
        key.text = member.first;
        list.elements.push_back(addOwned(call, std::move(key), &Entry::containerReferences));
    }
    return addOwned(call, std::move(list), &Entry::moduleReferences);
}

PP_Var VarTable::element(const char* call, PP_Var array, std::uint32_t index) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, array, PP_VARTYPE_ARRAY);
    if (entry == nullptr || index >= entry->contents.elements.size()) return PP_MakeUndefined();
    return handOver(call, entry->contents.elements[index]);
}

bool VarTable::setElement(const char* call, PP_Var array, std::uint32_t index, PP_Var value) {
    const ChangeLock lock(*this);
    Entry* entry = find(call, array, PP_VARTYPE_ARRAY);
    if (entry == nullptr || index >= kMaxArrayLength) return false;
    std::vector<PP_Var>& elements = entry->contents.elements;
    if (index >= elements.size()) elements.resize(index + 1, PP_MakeUndefined());
    const PP_Var replaced = elements[index];
    elements[index] = stored(call, value);
    dropStored(replaced);
    return true;
}

std::uint32_t VarTable::length(const char* call, PP_Var array) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, array, PP_VARTYPE_ARRAY);
    return entry == nullptr ? 0 : static_cast<std::uint32_t>(entry->contents.elements.size());
}

bool VarTable::setLength(const char* call, PP_Var array, std::uint32_t length) {
    const ChangeLock lock(*this);
    Entry* entry = find(call, array, PP_VARTYPE_ARRAY);
    if (entry == nullptr || length > kMaxArrayLength) return false;
    std::vector<PP_Var>& elements = entry->contents.elements;
    std::vector<PP_Var> removed;
    if (length < elements.size()) removed.assign(elements.begin() + length, elements.end());
    elements.resize(length, PP_MakeUndefined());
    for (const PP_Var& var : removed) dropStored(var);
    return true;
}

bool VarTable::byteLength(const char* call, PP_Var buffer, std::uint32_t* length) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, buffer, PP_VARTYPE_ARRAY_BUFFER);
    if (entry == nullptr) return false;
    *length = entry->contents.size;
    return true;
}

void* VarTable::bytes(const char* call, PP_Var buffer) {
    const std::lock_guard lock(m_mutex);
    const Entry* entry = find(call, buffer, PP_VARTYPE_ARRAY_BUFFER);
    return entry == nullptr ? nullptr : entry->contents.bytes.get();
}

}  // namespace host
