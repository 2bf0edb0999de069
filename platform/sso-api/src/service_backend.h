#ifndef SSO_API_SERVICE_BACKEND_H_
#define SSO_API_SERVICE_BACKEND_H_

#include <chrono>
#include <string>
#include <vector>

#include "account/behaviour.h"
#include "answer.h"
#include "operation_queue.h"

namespace sso_api {

/// The account service, in the account file's place. No answer is waited for longer than kBound. Any thread.
class ServiceBackend {
  public:
    static constexpr std::chrono::milliseconds kBound{2500};

    /// Null when the account is that of a file: unless SSO_BUS_ADDRESS and SSO_STATE name a service and its
    /// state at the first use.
    static ServiceBackend* instance();
    virtual ~ServiceBackend() = default;

    /// Whether the operation may be started.
    virtual bool canStart(account::Operation operation) = 0;

    /// Has the service do what an operation of the queue stands for, which ends with its answer.
    ///
    /// @param texts  of the C function, in their order.
    virtual void run(account::Operation operation, const std::vector<std::string>& texts,
                     OperationQueue::Id id) = 0;

    /// A query's answer.
    ///
    /// @param text  the argument of one that has one, else null.
    virtual Answer ask(account::Operation operation, const char* text) = 0;

    /// Replaces the state's accounts and behaviour by those of an account file's content; "{}" for none.
    ///
    /// @return what is wrong with it; "" when it is done.
    virtual std::string replace(const std::string& json) = 0;

    /// Tells the service that nobody waits for the process's operations any more. Does not wait.
    virtual void cancelAll() = 0;
};

}  // namespace sso_api

#endif
