#ifndef CALL_TRACE_LIBRARY_H_
#define CALL_TRACE_LIBRARY_H_

#include <boost/bind/bind.hpp>
#include <cstdint>
#include <cstring>
#include <typeinfo>

#include "ht.h"
#include "trace/location.h"

/// What a traced library has of its own: places, and the step that stores a text.

template <typename Literal>
void TCScopeContainer::m_VoidToType(ht::TSCallItemHelper* item, const void* value) {
    const char* text = static_cast<const char*>(value);
    if (text != nullptr) {
        item->writer->Write(text, std::strlen(text));
    } else {
        item->writer->WriteNull();
    }
}

template <typename Literal>
void TCScopeContainer::m_Store(ht::TSCallItemHelper* item, const char* value) {
    if ((item->flags & 1U) != 0) m_VoidToType<Literal>(item, value);
    if ((item->flags & 2U) != 0) {
        item->formatters.emplace_back(boost::bind(&TCScopeContainer::m_VoidToType<Literal>, this,
                                                  boost::placeholders::_1, value));
    }
    if (item->recordsTypes) {
        const char* type = typeid(const char*).name();
        item->typeNames.push_back(ht::TSDemangler::Demangle(type + (*type == '*' ? 1 : 0)));
        item->kinds.push_back(static_cast<std::uint8_t>(item->flags));
        item->tags.push_back(16383);
    }
    item->flags = 1;
}

namespace call_trace_test {

/// A traced place of a library whose cell is `enabled`.
struct Place {
    Place(const char* function, int* enabled, int line = 1)
        : location{"library/source.cpp", line, function, &id, enabled} {}
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    int id = 0;
    const TSCodeLocation location;
};

inline void store(TCScopeContainer& scope, const char* text) {
    const TCScopeHandler handler = TCScopeHandler::Instance(scope);
    if (handler.item()->active) scope.m_Store<char[1]>(handler.item(), text);
}

/// The scope of a traced function that stores a text when it begins.
class Scope {
  public:
    explicit Scope(const Place& place, const char* text) : m_container(place.location) {
        store(m_container, text);
    }

    TCScopeContainer& container() { return m_container; }

  private:
    TCScopeContainer m_container;
};

}  // namespace call_trace_test

#endif
