#ifndef SERVICE_PASSWORD_H_
#define SERVICE_PASSWORD_H_

#include <string>

namespace service {

/// A password as it is kept: argon2id with a salt of its own. Takes some tens of milliseconds.
///
/// @throws std::bad_alloc
std::string hashPassword(const std::string& password);

/// Whether that is the password. Takes as long when nothing is kept, so that nobody learns who has one.
bool isPassword(const std::string& kept, const std::string& password);

/// Whether a text is what hashPassword() gives; files may have a password as it is.
bool isHash(const std::string& text);

}  // namespace service

#endif
