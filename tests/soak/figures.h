#ifndef TESTS_SOAK_FIGURES_H_
#define TESTS_SOAK_FIGURES_H_

#include <chrono>
#include <cstddef>
#include <vector>

namespace soak {

/// What the process has at a moment.
struct Holdings {
    std::size_t memory =
        0;  ///< bytes that were asked for and not given back; 0 with a sanitizer's allocator
    std::size_t resident =
        0;  ///< bytes of memory that all of it takes, with what the allocator keeps for later
    std::size_t threads = 0;
    std::size_t files = 0;
};

Holdings holdings();

/// The process's memory over a run, by the share of the run that was done.
class MemoryCurve {
  public:
    /// @param done  from 0 to 1.
    void add(double done, std::size_t memory);

    /// The least of the second quarter, and of the last: now and then there is a little more that goes again, and what
    /// is kept for good raises the least. 0 before there was anything.
    double second() const;
    double last() const;

  private:
    std::vector<std::size_t> m_second;
    std::vector<std::size_t> m_last;
};

}  // namespace soak

#endif
