#ifndef HOST_TESTS_SPECIAL_NUMBERS_H_
#define HOST_TESTS_SPECIAL_NUMBERS_H_

#include <limits>

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

#endif
