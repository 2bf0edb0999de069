#ifndef HT_H_
#define HT_H_

/* The call-tracing service, as far as a traced library sees it.
 *
 * A library registers the cell that switches its tracing. Each traced function has a code location
 * and opens a scope with it; while a scope is open, its thread has a current call item, into which
 * the library stores texts. What becomes of an item is the service's business. A scope costs a traced
 * function time and nothing else: no result of the service is for it.
 *
 * Unless a comment says otherwise, a function may be called on any thread and throws nothing. */

#include <boost/function/function1.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" {

/** Called when a library is loaded. From now on the service switches the library's tracing by writing
 * to the cell: 0 off, 1 on. The cell belongs to the library. */
void ht_register_library(int* enabled);

/** Called before the library is unloaded; the cell is not written to any more. */
void ht_deregister_library(int* enabled);
}

/** One traced place of a library. The library defines it, in its own trace headers: static, and as old
 * as the library. In this order it has a file name and a line (const char*, int), the function's
 * signature (const char*), a number that the service gives the place (int*, 0 until then), and the
 * library's cell (int*). */
struct TSCodeLocation;

namespace ht {

/** Where the texts of an item go. */
class TSTextWriter {
  public:
    /// @throws  what the service's output throws.
    virtual void Write(const char* text, std::size_t length) = 0;
    /// @throws  as Write().
    virtual void WriteNull() = 0;

  protected:
    ~TSTextWriter() = default;
};

/** What is known of one call while it lasts. It belongs to the service, and only the thread of the
 * call uses it. */
struct TSCallItemHelper {
    /// Bits of `flags`.
    enum : unsigned {
        kWriteAtOnce = 1,  ///< a stored value goes to the writer
        kWriteLater = 2,   ///< a formatter is kept for a stored value
    };
    using Formatter = boost::function1<void, TSCallItemHelper*>;

    bool active;  ///< otherwise nothing is stored, and all below is meaningless
    unsigned flags;
    TSTextWriter* writer;
    std::vector<Formatter> formatters;
    bool recordsTypes;  ///< each stored value adds an entry to the three sequences
    std::vector<std::string> typeNames;
    std::vector<std::uint8_t> kinds;
    std::vector<std::uint16_t> tags;
};

class TSDemangler {
  public:
    /// @return the readable text of a run-time type name; the name itself when it is none.
    /// @throws std::bad_alloc
    static std::string Demangle(const char* typeName);
};

}  // namespace ht

/** The scope of one traced call, on the stack of the traced function: it begins when this is made and
 * ends when it goes. */
class TCScopeContainer {
  public:
    /// @param location  outlives the scope; its cell is filled in.
    explicit TCScopeContainer(const TSCodeLocation& location);
    ~TCScopeContainer();
    TCScopeContainer(const TCScopeContainer&) = delete;
    TCScopeContainer& operator=(const TCScopeContainer&) = delete;

    /** @name The traced library's part
     * The service neither defines nor calls these; the library's own trace headers define them.
     * `Literal` is the type of the text literal that is stored, an array of N characters.
     * @{ */

    /// Stores a text into an item that is active.
    ///
    /// @param value  as old as the library, as literals are; null is stored as the null value.
    /// @throws  what the item's writer throws, and std::bad_alloc.
    template <typename Literal>
    void m_Store(ht::TSCallItemHelper* item, const char* value);

    /// The formatter that is kept for such a text: writes it to an item's writer.
    ///
    /// @throws  what the item's writer throws.
    template <typename Literal>
    void m_VoidToType(ht::TSCallItemHelper* item, const void* value);

    /** @} */

  private:
    friend class TCScopeHandler;

    const TSCodeLocation* m_location;
    void* m_call;  ///< the service's own record; null for a call that is not traced
};

/** Access to the item of a scope, for as long as something is stored into it. */
class TCScopeHandler {
  public:
    static TCScopeHandler Instance(TCScopeContainer& container);
    ~TCScopeHandler();
    TCScopeHandler(const TCScopeHandler&) = delete;
    TCScopeHandler& operator=(const TCScopeHandler&) = delete;

    /// The item of the container's call, the service's; never null.
    ht::TSCallItemHelper* item() const { return m_item; }

  private:
    TCScopeHandler(ht::TSCallItemHelper* item, const TSCodeLocation* location)
        : m_item(item), m_location(location) {}

    ht::TSCallItemHelper* m_item;
    const TSCodeLocation* m_location;
};

#endif
