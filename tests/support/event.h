#ifndef SUPPORT_EVENT_H_
#define SUPPORT_EVENT_H_

#include <sys/types.h>

#include <iosfwd>
#include <string>

namespace support {

/// Who was called by the plug-in.
enum class Supplier {
    Log,            ///< the log service
    Browser,        ///< the host, as its onCall hook words it
    Extension,      ///< the vendor table
    Configuration,  ///< the configuration store
    Library,        ///< the SSO client library
    Memory,         ///< free() of a text of the client library: "free(sso_get_guid)"
};

/// One call that the plug-in made.
struct Event {
    Supplier supplier = Supplier::Log;
    /// The call, with the arguments that matter; of the log service the formatted text.
    std::string what;
    std::string thread;  ///< name of the calling thread at that moment
    pid_t threadId = 0;  ///< the system's number of it

    /// @name Of the log service only
    /// @{
    int buffer = 0;
    int priority = 0;
    std::string tag;
    std::string format;
    /// @}
};

/// Makes control characters visible: escape becomes \033.
std::string visible(const std::string& text);

/// One line for a failing test.
void PrintTo(const Event& event, std::ostream* stream);

/// The name of the calling thread.
std::string thisThreadName();

}  // namespace support

#endif
