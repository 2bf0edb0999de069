#ifndef EMBEDDER_INPUT_ERROR_H_
#define EMBEDDER_INPUT_ERROR_H_

#include <stdexcept>

namespace embedder {

/// The exit code of a program that starts nothing because of its command line or a file.
inline constexpr int kExitBadInput = 2;

/// An option or a file that cannot be used. what() is for a person, a line for each
/// mistake.
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace embedder

#endif
