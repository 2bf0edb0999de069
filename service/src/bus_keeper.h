#ifndef SERVICE_BUS_KEEPER_H_
#define SERVICE_BUS_KEEPER_H_

#include <filesystem>

namespace service {

/// Starts a private bus with its socket in the folder, and returns once it can be used. A process of its own goes on to
/// keep it: it ends with the last of its users, or with the keeper. The caller holds the folder's lock.
///
/// @param ssod  the program that the bus starts as the account service.
/// @return 0 in the process that was called, and in the keeper when all is over; 1 when there is no bus, after a line
///         on standard error.
int keepBus(const std::filesystem::path& folder, const std::filesystem::path& ssod);

}  // namespace service

#endif
