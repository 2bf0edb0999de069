#ifndef HOST_VAR_TABLE_H_
#define HOST_VAR_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/never_destroyed.h"
#include "ppapi/c/pp_resource.h"
#include "ppapi/c/pp_var.h"

namespace host {

/// Whose account a reference is on. A third account, the containers', is kept by the table itself.
enum class Holder { Module, Host };

/// Where a var came from.
struct VarOrigin {
    std::string call;          ///< "PPB_Var.VarFromUtf8", "page message", ...
    std::uint64_t number = 0;  ///< running number over all vars of the process, from 1
    std::string thread;        ///< name of the thread that made it
};

/// A var that the module owns references to.
struct HeldVar {
    std::int64_t id = 0;
    PP_VarType type = PP_VARTYPE_UNDEFINED;
    int references = 0;   ///< the module's own; those of containers and of the host do not count
    std::string preview;  ///< kind and beginning of the content: string "abc"
    VarOrigin origin;
};

/// One step in the life of a var's references, see VarTable::recordOperations().
struct VarOperation {
    std::int64_t id = 0;
    /// The interface function, or what the host did: "PPB_Var.AddRef", "PPB_VarDictionary.Get",
    /// "PPP_Messaging.HandleMessage" (gives one), "response" (takes one), ...
    std::string call;
    int change = 0;            ///< what it did to the module's references: +1 or -1
    int moduleReferences = 0;  ///< the module's references after it
    std::string preview;
    std::string thread;
};

/// What a live counted var holds; the member for its type is filled.
struct VarContents {
    struct Free {
        void operator()(std::uint8_t* bytes) const { std::free(bytes); }
    };
    PP_VarType type = PP_VARTYPE_UNDEFINED;
    std::string text;
    std::vector<PP_Var> elements;
    std::map<std::string, PP_Var> members;
    std::unique_ptr<std::uint8_t, Free> bytes;
    std::uint32_t size = 0;  ///< of bytes
    PP_Resource resource = 0;
};

/// All counted vars of the process, with a strict account of references. Any thread.
///
/// The module's references and the host's are counted apart. Everything that an interface function
/// hands over, and AddRef, adds to the module's; Release and a blocking call's response take from
/// them. A var dies when no account holds it. Ids are never 0 and never reused.
///
/// What a module does wrong changes nothing but is noted, see problems(). Every function that takes a
/// var takes any: immediate ones are nothing to count, dead ids and ids with another type's tag are
/// noted and treated as a wrong type. `call` names the caller in notes and must be a literal.
class VarTable {
  public:
    /// The one table. It outlives every thread.
    static VarTable& instance();

    VarTable(const VarTable&) = delete;
    VarTable& operator=(const VarTable&) = delete;

    /// @name Reports
    /// @{

    /// What went wrong since the last reset(), one line each, naming id, type, content and origin:
    /// releases without an own reference, uses of dead ids, responses that were not owned, leaks.
    /// The first thousand are kept.
    std::vector<std::string> problems() const;

    /// What the module owns references to now, in the order of ids.
    std::vector<HeldVar> moduleHeldVars() const;

    /// Live counted vars, whoever holds them; also what only a cycle keeps alive.
    std::size_t liveVarCount() const;

    /// Starts (with an empty list) or stops recording every change of the module's references.
    void recordOperations(bool on);

    /// In the order they happened; of one var, or of all with id 0.
    std::vector<VarOperation> operations(std::int64_t id = 0) const;

    /// Notes every var that the module still holds as a leak.
    void noteLeaks();

    /// Forgets all vars, notes and recordings. Ids go on.
    void reset();

    /// @}
    /// @name Making: one reference on the holder's account
    /// @{

    /// @return a null var when the text is ill-formed UTF-8.
    PP_Var makeString(Holder holder, const char* call, std::string_view text);
    PP_Var makeArray(Holder holder, const char* call);
    PP_Var makeDictionary(Holder holder, const char* call);
    /// Zero filled. @return a null var when the memory cannot be had.
    PP_Var makeBuffer(Holder holder, const char* call, std::uint32_t size);
    /// Holds a reference to the resource while it lives. @return null for an unknown resource.
    PP_Var makeResource(Holder holder, const char* call, PP_Resource resource);

    /// @}
    /// @name References
    /// @{

    void addRef(Holder holder, const char* call, PP_Var var);
    void release(Holder holder, const char* call, PP_Var var);

    /// Moves one reference from the module's account to the host's.
    ///
    /// @return false when nothing was moved: with a note when the module owns none; without one for
    ///         a var that is not live, whose use is noted when its content is looked at.
    bool takeFromModule(const char* call, PP_Var var);

    /// Moves one reference from the host's account to the module's.
    void giveToModule(const char* call, PP_Var var);

    /// @}
    /// @name Content. What comes back as PP_Var has one more reference on the module's account.
    /// @{

    /// @return the text with a NUL behind it, valid while the var lives; null for no string.
    const char* text(const char* call, PP_Var var, std::uint32_t* length);
    PP_Resource resource(const char* call, PP_Var var);

    PP_Var member(const char* call, PP_Var dictionary, PP_Var key);
    bool setMember(const char* call, PP_Var dictionary, PP_Var key, PP_Var value);
    bool setMember(const char* call, PP_Var dictionary, const std::string& key, PP_Var value);
    void removeMember(const char* call, PP_Var dictionary, PP_Var key);
    bool hasMember(const char* call, PP_Var dictionary, PP_Var key);
    PP_Var keys(const char* call, PP_Var dictionary);

    PP_Var element(const char* call, PP_Var array, std::uint32_t index);
    bool setElement(const char* call, PP_Var array, std::uint32_t index, PP_Var value);
    std::uint32_t length(const char* call, PP_Var array);
    bool setLength(const char* call, PP_Var array, std::uint32_t length);

    bool byteLength(const char* call, PP_Var buffer, std::uint32_t* length);
    void* bytes(const char* call, PP_Var buffer);

    /// @}

    /// Elements that an array may have; growing beyond fails instead of exhausting the memory.
    static constexpr std::uint32_t kMaxArrayLength = 1U << 24;

    /// Looks at many vars in one consistent state: the table is locked while a Reader lives, so its
    /// thread must not call the table meanwhile.
    class Reader {
      public:
        explicit Reader(VarTable& table) : m_table(table), m_lock(table.m_mutex) {}
        /// Null for a var that is not live, which is noted.
        const VarContents* find(const char* call, PP_Var var);

      private:
        VarTable& m_table;
        std::lock_guard<std::mutex> m_lock;
    };

  private:
    struct Entry {
        VarContents contents;
        VarOrigin origin;
        int moduleReferences = 0;
        int hostReferences = 0;
        int containerReferences = 0;

        int& references(Holder holder) {
            return holder == Holder::Module ? moduleReferences : hostReferences;
        }
        bool isHeld() const { return moduleReferences + hostReferences + containerReferences > 0; }
    };

    // Locks the table for a change that may bury vars. Their resources are let go after unlocking:
    // a message loop that dies with one releases the vars of its tasks.
    class ChangeLock {
      public:
        explicit ChangeLock(VarTable& table) : m_table(table), m_lock(table.m_mutex) {}
        ~ChangeLock();
        ChangeLock(const ChangeLock&) = delete;
        ChangeLock& operator=(const ChangeLock&) = delete;

      private:
        VarTable& m_table;
        std::unique_lock<std::mutex> m_lock;
    };

    friend class base::NeverDestroyed<VarTable>;
    VarTable() = default;

    // All below: the table is locked.
    PP_Var add(Holder holder, const char* call, VarContents contents);
    PP_Var addOwned(const char* call, VarContents contents, int Entry::*account);
    Entry* find(const char* call, PP_Var var);
    Entry* find(const char* call, PP_Var var, PP_VarType type);
    PP_Var stored(const char* call, PP_Var value);
    PP_Var handOver(const char* call, PP_Var var);
    bool putMember(const char* call, Entry& dictionary, const std::string& key, PP_Var value);
    void dropStored(PP_Var var);
    void buryUnlessHeld(std::int64_t id);
    void note(const std::string& problem);
    void record(std::int64_t id, const Entry& entry, const char* call, int change);
    static std::string preview(const VarContents& contents);
    static std::string describe(std::int64_t id, const Entry& entry);

    mutable std::mutex m_mutex;
    std::int64_t m_nextId = 1001;
    std::uint64_t m_nextNumber = 1;
    std::unordered_map<std::int64_t, Entry> m_vars;
    std::unordered_map<std::int64_t, std::string> m_dead;  // descriptions of those in m_deadOrder
    std::deque<std::int64_t> m_deadOrder;
    std::vector<PP_Resource> m_leftResources;  // of buried vars
    std::vector<std::string> m_problems;
    bool m_recording = false;
    std::vector<VarOperation> m_operations;
};

}  // namespace host

#endif
