#ifndef TRACE_STORE_H_
#define TRACE_STORE_H_

// How a text is stored into a call item: the library's part of the service's classes.

#include <boost/bind/bind.hpp>
#include <cstring>
#include <typeinfo>
#include <utility>

#include "ht.h"

namespace trace {

/// The tag of a stored text in an item's type record.
constexpr std::uint16_t kTextTag = 16383;

// What follows is no part of the places where texts are stored: there are many, and a text is stored
// seldom.

[[gnu::noinline]] inline void write(ht::TSCallItemHelper* item, const char* text) {
    if (text != nullptr) {
        item->writer->Write(text, std::strlen(text));
    } else {
        item->writer->WriteNull();
    }
}

[[gnu::noinline]] inline void keep(ht::TSCallItemHelper* item,
                                   ht::TSCallItemHelper::Formatter formatter) {
    item->formatters.push_back(std::move(formatter));
}

[[gnu::noinline]] inline void recordType(ht::TSCallItemHelper* item) {
    const char* name = typeid(const char*).name();
    if (*name == '*') {  // marks a name that is compared by address
        ++name;
    }
    item->typeNames.push_back(ht::TSDemangler::Demangle(name));
    item->kinds.push_back(static_cast<std::uint8_t>(item->flags));
    item->tags.push_back(kTextTag);
}

/// TCScopeContainer::m_Store() for a place that has it expanded there: a scope's own name, of which
/// there is one in each function.
template <typename Literal>
[[gnu::always_inline]] inline void storeInPlace(TCScopeContainer* container,
                                                ht::TSCallItemHelper* item, const char* value) {
    using Item = ht::TSCallItemHelper;
    if ((item->flags & Item::kWriteAtOnce) != 0) {
        write(item, value);
    }
    if ((item->flags & Item::kWriteLater) != 0) {
        // Bound by its own type: each size of literal has a formatter of its own.
        keep(item, boost::bind(&TCScopeContainer::m_VoidToType<Literal>, container,
                               boost::placeholders::_1, reinterpret_cast<Literal*>(value)));
    }
    if (item->recordsTypes) {
        recordType(item);
    }
    item->flags = Item::kWriteAtOnce;  // what follows in this call needs no formatter
}

}  // namespace trace

template <typename Literal>
[[gnu::noinline]] void TCScopeContainer::m_Store(ht::TSCallItemHelper* item, const char* value) {
    trace::storeInPlace<Literal>(this, item, value);
}

template <typename Literal>
void TCScopeContainer::m_VoidToType(ht::TSCallItemHelper* item, const void* value) {
    trace::write(item, static_cast<const char*>(value));
}

#endif
