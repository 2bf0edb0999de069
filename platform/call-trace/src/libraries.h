#ifndef CALL_TRACE_LIBRARIES_H_
#define CALL_TRACE_LIBRARIES_H_

#include <cstddef>
#include <mutex>
#include <optional>
#include <vector>

namespace call_trace {

/// The cells of the registered libraries. Any thread.
class Libraries {
  public:
    static Libraries& instance();

    void add(int* cell);
    void remove(int* cell);

    /// Switches those that are there and those to come.
    void setEnabled(bool enabled);

    /// Copies up to `size` of them, in the order of registration. @return how many there are.
    std::size_t cells(int** cells, std::size_t size);

    /// Held while the process forks, so that the child finds everything whole.
    std::mutex& mutex() { return m_mutex; }

  private:
    std::mutex m_mutex;
    std::vector<int*> m_cells;
    std::optional<bool> m_enabled;  ///< as the settings say, unless it has been set
};

}  // namespace call_trace

#endif
