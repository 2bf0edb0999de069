// The account file: what is read is written and read again without a change, what is not is told line by line.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "account/account.h"
#include "account/account_file.h"
#include "support/mistakes.h"
#include "support/require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    account::Description read;
    try {
        read = account::parseAccountFile(text, "file");
    } catch (const account::AccountFileError& mistakes) {
        fuzz::requireMistakes(mistakes.what(), "file");
        return 0;
    }
    const std::string written = account::toJson(read);
    try {
        const std::string again = account::toJson(account::parseAccountFile(written, "file"));
        fuzz::require(again == written, "what was written reads back as it was", again);
    } catch (const account::AccountFileError& mistakes) {
        fuzz::require(false, "what was read can be written", mistakes.what());
    }
    const account::Account account(read);
    fuzz::require(account.isSignedIn() == read.signedIn.has_value(), "the session is the file's");
    return 0;
}
