#ifndef ACCOUNT_ACCOUNT_FILE_H_
#define ACCOUNT_ACCOUNT_FILE_H_

#include <string>
#include <string_view>

#include "account/account.h"
#include "base/file_value.h"

/// Account files, which account.schema.json describes. Any thread.
namespace account {

/// A file that is no account.
using AccountFileError = base::FileError;

/// @throws AccountFileError  when the file cannot be read, or is no account.
Description readAccountFile(const std::string& path);

/// @param json  the content of an account file.
/// @param name  what to call it in an error.
/// @throws AccountFileError  when it is no account.
Description parseAccountFile(std::string_view json, const std::string& name);

/// An account file of a description, in which a reader finds all of it again. Texts that are not
/// UTF-8 have replacement characters there.
std::string toJson(const Description& description);

}  // namespace account

#endif
