#ifndef ACCOUNT_OUTCOME_H_
#define ACCOUNT_OUTCOME_H_

namespace account {

/// How an operation on an account ended.
enum class Outcome {
    Ok,
    NoAccount,    ///< nobody is signed in
    Invalid,      ///< a text is empty where one is needed
    Unknown,      ///< no such client, terms document or mapping
    Duplicate,    ///< the mapping is there already
    Unavailable,  ///< the account service cannot be reached
    Cancelled,    ///< it was taken away before its end
};

/// What was asked for, or why there is none.
template <typename Value>
struct Result {
    Outcome outcome = Outcome::Ok;
    Value value{};  ///< as it is made by itself, unless the outcome is Ok
};

}  // namespace account

#endif
