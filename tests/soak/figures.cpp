#include "figures.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace soak {
namespace {

std::size_t count(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

double least(const std::vector<std::size_t>& samples) {
    return samples.empty() ? 0
                           : static_cast<double>(*std::min_element(samples.begin(), samples.end()));
}

}  // namespace

Holdings holdings() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    const struct mallinfo2 heap = mallinfo2();
    return {heap.uordblks + heap.hblkhd, resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)),
            count("/proc/self/task"), count("/proc/self/fd")};
}

void MemoryCurve::add(double done, std::size_t memory) {
    if (done >= 0.25 && done < 0.5) m_second.push_back(memory);
    if (done >= 0.75) m_last.push_back(memory);
}

double MemoryCurve::second() const { return least(m_second); }

double MemoryCurve::last() const { return least(m_last); }

}  // namespace soak
