#include "host/message.h"

#include <ostream>

namespace host {

std::ostream& operator<<(std::ostream& stream, CallResult::Status status) {
    switch (status) {
        case CallResult::Status::Replied:
            return stream << "Replied";
        case CallResult::Status::NotHandled:
            return stream << "NotHandled";
        case CallResult::Status::TimedOut:
            return stream << "TimedOut";
        case CallResult::Status::InstanceGone:
            return stream << "InstanceGone";
    }
    return stream << "unknown";
}

}  // namespace host
