#ifndef BROWSER_EXIT_CODE_H_
#define BROWSER_EXIT_CODE_H_

namespace browser {

// The others: 0, that of embedder::InputError, and 128 + the number of the signal that ended the
// program.

inline constexpr int kExitFailed = 1;   ///< the page, its script, the display or the output failed
inline constexpr int kExitTimeout = 3;  ///< --timeout has passed
inline constexpr int kExitStrict = 4;   ///< all went well, but not as well as --strict wants

}  // namespace browser

#endif
