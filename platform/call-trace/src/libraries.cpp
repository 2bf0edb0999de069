#include "libraries.h"

#include <algorithm>
#include <new>

#include "base/never_destroyed.h"
#include "cell.h"
#include "control.h"
#include "ht.h"
#include "settings.h"

namespace call_trace {

Libraries& Libraries::instance() {
    static base::NeverDestroyed<Libraries> libraries;
    return *libraries;
}

void Libraries::add(int* cell) {
    const std::lock_guard lock(m_mutex);
    if (std::find(m_cells.begin(), m_cells.end(), cell) == m_cells.end()) {
        m_cells.push_back(cell);
    }
    if (!m_enabled) {
        m_enabled = !settings().file.empty();
    }
    writeCell(cell, *m_enabled);
}

void Libraries::remove(int* cell) {
    const std::lock_guard lock(m_mutex);
    m_cells.erase(std::remove(m_cells.begin(), m_cells.end(), cell), m_cells.end());
}

void Libraries::setEnabled(bool enabled) {
    const std::lock_guard lock(m_mutex);
    m_enabled = enabled;
    for (int* cell : m_cells) {
        writeCell(cell, enabled);
    }
}

std::size_t Libraries::cells(int** cells, std::size_t size) {
    const std::lock_guard lock(m_mutex);
    std::copy_n(m_cells.begin(), std::min(size, m_cells.size()), cells);
    return m_cells.size();
}

}  // namespace call_trace

using namespace call_trace;

void ht_register_library(int* enabled) {
    try {
        Libraries::instance().add(enabled);
    } catch (const std::bad_alloc&) {
        writeCell(enabled, false);  // nobody could switch it off
    }
    if (g_registrationObserver.isSet()) {
        g_registrationObserver.tell(enabled, true);
    }
}

void ht_deregister_library(int* enabled) {
    Libraries::instance().remove(enabled);
    if (g_registrationObserver.isSet()) {
        g_registrationObserver.tell(enabled, false);
    }
}
