#ifndef SERVICE_RANDOM_ID_H_
#define SERVICE_RANDOM_ID_H_

#include <string>

namespace service {

/// A text that nobody can guess; no two are alike.
///
/// @param start  what it begins with.
std::string randomId(const char* start);

}  // namespace service

#endif
