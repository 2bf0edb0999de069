// The call-tracing service: a library's cell, scopes and their items.

#include <ht.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <typeinfo>

#include "at_once.h"
#include "promise.h"

/// As the service's header says: the traced library defines it.
struct TSCodeLocation {
    const char* file;
    int line;
    const char* function;
    int* id;
    int* enabled;
};

namespace suppliers {
namespace {

/// A traced library's cell, on memory that can be taken away as if the library were unloaded.
class Cell {
  public:
    Cell()
        : m_size(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          m_cell(static_cast<int*>(
              mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
    ~Cell() { munmap(m_cell, m_size); }
    Cell(const Cell&) = delete;
    Cell& operator=(const Cell&) = delete;

    int* get() const { return m_cell; }
    bool isOn() const { return __atomic_load_n(m_cell, __ATOMIC_ACQUIRE) != 0; }
    void unload() { mprotect(m_cell, m_size, PROT_NONE); }

  private:
    std::size_t m_size;
    int* m_cell;
};

/// The plug-in's tests of an item, on a place of its own.
struct Place {
    explicit Place(const Cell& cell) : location{"place.cpp", 1, "void traced()", &id, cell.get()} {}
    int id = 0;
    TSCodeLocation location;
};

/// A registered cell, with the service as it is here: it may trace or not.
class Tracing : public ::testing::Test {
  protected:
    void registerCell() {
        ht_register_library(m_cell.get());
        m_registered = true;
    }
    void TearDown() override {
        if (m_registered) {
            ht_deregister_library(m_cell.get());
        }
    }
    Cell m_cell;
    bool m_registered = false;
};

#define REGISTER_OR_SKIP()                                                \
    registerCell();                                                       \
    if (!m_cell.isOn()) {                                                 \
        NOT_APPLICABLE("the service does not trace in this environment"); \
    }

/// Stores a text as the traced library's inline code does.
void store(ht::TSCallItemHelper* item, const char* text) {
    if ((item->flags & ht::TSCallItemHelper::kWriteAtOnce) != 0) {
        item->writer->Write(text, std::char_traits<char>::length(text));
    }
    if ((item->flags & ht::TSCallItemHelper::kWriteLater) != 0) {
        item->formatters.emplace_back([text](ht::TSCallItemHelper* later) {
            later->writer->Write(text, std::char_traits<char>::length(text));
        });
    }
    if (item->recordsTypes) {
        item->typeNames.push_back(ht::TSDemangler::Demangle(typeid(const char*).name()));
        item->kinds.push_back(static_cast<std::uint8_t>(item->flags));
        item->tags.push_back(16383);
    }
    item->flags = ht::TSCallItemHelper::kWriteAtOnce;
}

TEST_F(Tracing, RegistersACellAndLetsItGo) {
    promise(
        "ht_register_library and ht_deregister_library take the module's cell, and leave it alone "
        "after that: it lies in a module that may be unloaded");
    for (int n = 0; n < 3; ++n) {
        Cell cell;
        ht_register_library(cell.get());
        ht_deregister_library(cell.get());
        cell.unload();  // who writes to it now crashes
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

TEST_F(Tracing, GivesAnInactiveItemForACellThatIsOff) {
    promise(
        "a scope gives an item, inactive while the cell is 0: the plug-in asks the item without a "
        "test for null, and stores into active ones");
    Place place(m_cell);  // which nobody has registered
    TCScopeContainer container(place.location);
    for (int n = 0; n < 2; ++n) {
        const TCScopeHandler handler = TCScopeHandler::Instance(container);
        ASSERT_NE(handler.item(), nullptr) << "seen: no item";
        EXPECT_FALSE(handler.item()->active) << "seen: an active item";
    }
}

TEST_F(Tracing, AllowsScopesInsideScopes) {
    promise(
        "scopes may be opened inside others, and an outer scope has its item again when an inner "
        "one has ended: traced functions of the plug-in call each other");
    registerCell();
    Place outerPlace(m_cell);
    Place innerPlace(m_cell);
    TCScopeContainer outer(outerPlace.location);
    const auto itemOf = [](TCScopeContainer& container) {
        return TCScopeHandler::Instance(container).item();
    };
    ht::TSCallItemHelper* const item = itemOf(outer);
    ASSERT_NE(item, nullptr) << "seen: no item";
    for (int n = 0; n < 3; ++n) {
        TCScopeContainer inner(innerPlace.location);
        ASSERT_NE(itemOf(inner), nullptr) << "seen: no item";
        EXPECT_EQ(itemOf(inner)->active, item->active) << "seen: one item active, one not";
        if (item->active) {
            EXPECT_NE(itemOf(inner), item) << "seen: one item for both scopes";
        }
    }
    EXPECT_EQ(itemOf(outer), item) << "seen: another item after the inner scope";
}

TEST_F(Tracing, EndsAScopeThatAnExceptionLeaves) {
    promise(
        "a scope ends when an exception passes, and lets it pass: tracing changes nothing of what "
        "a traced function does");
    registerCell();
    Place place(m_cell);
    for (int n = 0; n < 3; ++n) {
        EXPECT_THROW(
            {
                TCScopeContainer container(place.location);
                throw std::runtime_error("passing");
            },
            std::runtime_error)
            << "seen: the exception did not arrive";
    }
}

TEST_F(Tracing, HasAnItemForEachThread) {
    promise("an active item is of one thread alone: the plug-in stores into it without a lock");
    REGISTER_OR_SKIP()
    Place place(m_cell);
    TCScopeContainer container(place.location);
    const void* const own = TCScopeHandler::Instance(container).item();
    const void* other = nullptr;
    atOnce(1, [&](int) {
        TCScopeContainer otherContainer(place.location);
        other = TCScopeHandler::Instance(otherContainer).item();
    });
    EXPECT_NE(own, other) << "seen: two threads have the same item";
}

TEST_F(Tracing, TakesTextsIntoAnActiveItem) {
    promise(
        "an active item takes texts as its flags ask: at once to its writer, as formatters, and "
        "with their types");
    REGISTER_OR_SKIP()
    for (int n = 0; n < 3; ++n) {
        Place place(m_cell);
        TCScopeContainer container(place.location);
        for (const char* text : {"Register", "m_ShowTermsPageCallBack done"}) {
            const TCScopeHandler handler = TCScopeHandler::Instance(container);
            ASSERT_TRUE(handler.item()->active) << "seen: an inactive item, though the cell is on";
            const unsigned flags = handler.item()->flags;
            if ((flags & ht::TSCallItemHelper::kWriteAtOnce) != 0) {
                ASSERT_NE(handler.item()->writer, nullptr) << "seen: no writer to write to";
            }
            store(handler.item(), text);
        }
    }
}

TEST_F(Tracing, TakesScopesOfManyThreadsAtOnce) {
    promise(
        "scopes may be opened on many threads at once, also a place's first ones: each page has a "
        "thread of its own, and callbacks come on others");
    registerCell();
    Place place(m_cell);
    atOnce(8, [&](int) {
        for (int n = 0; n < 200; ++n) {
            TCScopeContainer container(place.location);
            TCScopeContainer inner(place.location);
            const TCScopeHandler handler = TCScopeHandler::Instance(inner);
            if (handler.item()->active) {
                store(handler.item(), "m_ResponseData");
            }
        }
    });
}

TEST_F(Tracing, MakesTypeNamesReadable) {
    promise(
        "ht::TSDemangler::Demangle gives readable text for a run-time type name: the plug-in hands "
        "it on into type records");
    const std::string name = typeid(const char*).name();
    const std::string readable = ht::TSDemangler::Demangle(name.c_str());
    EXPECT_NE(readable.find("char"), std::string::npos)
        << "seen: \"" << readable << "\" for \"" << name << "\"";
}

}  // namespace
}  // namespace suppliers
