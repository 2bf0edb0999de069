#ifndef TRACE_SCOPE_H_
#define TRACE_SCOPE_H_

// Scopes of traced functions, and texts that are stored in the middle of one. They change nothing of
// what the function does, and cost no allocation unless the service wants to know.

#include <optional>

#include "trace/library.h"
#include "trace/location.h"
#include "trace/store.h"

/// Defines the record of the enclosing function's place, named after its line.
///
/// @param line  a number literal.
#define TRACE_LOCATION(line)                                                            \
    static int htID##line = 0;                                                          \
    static TSCodeLocation htCodeLocation##line = {__FILE__, line, __PRETTY_FUNCTION__,  \
                                                  &htID##line, nullptr};                \
    /* Filled once, by the thread that comes first; any other waits for it. */          \
    [[maybe_unused]] static int* const htEnabled##line = htCodeLocation##line.enabled = \
        HtLibEnabled()

/// Opens the enclosing function's scope and stores `text`, a literal, into its item. The scope is
/// `container`, and ends with the enclosing block. What the service throws passes once the scope has
/// ended.
///
/// @param line  a number literal: the place's line, which its record is named after.
#define TRACE_SCOPE(container, line, text)            \
    TRACE_LOCATION(line);                             \
    TCScopeContainer container(htCodeLocation##line); \
    trace::storeName(&(container), text)

/// TRACE_SCOPE() of a function that must not throw: when the service throws, the scope ends at once, and
/// the function goes on without it.
// NOLINTBEGIN(bugprone-macro-parentheses): the name of a declaration
#define TRACE_SCOPE_NOTHROW(container, line, text) \
    TRACE_LOCATION(line);                          \
    std::optional<TCScopeContainer> container;     \
    trace::openOrLeave(&(container), htCodeLocation##line, text)
// NOLINTEND(bugprone-macro-parentheses)

namespace trace {

template <std::size_t size>
[[gnu::always_inline]] inline void storeName(TCScopeContainer* container,
                                             const char (&name)[size]) {
    const TCScopeHandler handler = TCScopeHandler::Instance(*container);
    if (handler.item()->active) {
        storeInPlace<const char[size]>(container, handler.item(), name);
    }
}

template <std::size_t size>
[[gnu::always_inline]] inline void openOrLeave(std::optional<TCScopeContainer>* container,
                                               const TSCodeLocation& location,
                                               const char (&name)[size]) noexcept {
    try {
        storeName(&container->emplace(location), name);
    } catch (...) {  // tracing is not worth the process
        container->reset();
    }
}

/// Stores a further text into the item of a scope.
template <std::size_t size>
[[gnu::always_inline]] inline void storeText(TCScopeContainer* container,
                                             const char (&text)[size]) {
    const TCScopeHandler handler = TCScopeHandler::Instance(*container);
    if (handler.item()->active) {
        container->m_Store<const char[size]>(handler.item(), text);
    }
}

}  // namespace trace

#endif
