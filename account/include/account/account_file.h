#ifndef ACCOUNT_ACCOUNT_FILE_H_
#define ACCOUNT_ACCOUNT_FILE_H_

#include <stdexcept>
#include <string>
#include <string_view>

#include "account/account.h"

/// Account files, which account.schema.json describes. Any thread.
namespace account {

/// A file that is no account. what() is one line for a person: the file's name, the line's number
/// and the member, as far as they can be told. It quotes no text of the file but names of members.
class AccountFileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// @throws AccountFileError  when the file cannot be read, or is no account.
Description readAccountFile(const std::string& path);

/// @param json  the content of an account file.
/// @param name  what to call it in an error.
/// @throws AccountFileError  when it is no account.
Description parseAccountFile(std::string_view json, const std::string& name);

}  // namespace account

#endif
