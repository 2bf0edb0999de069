#ifndef BROWSER_EXIT_CODE_H_
#define BROWSER_EXIT_CODE_H_

namespace browser {

/// The exit code when the page, its script or the display failed. The others: 0, that of
/// embedder::InputError, and 128 + the number of the signal that ended the program.
inline constexpr int kExitFailed = 1;

}  // namespace browser

#endif
