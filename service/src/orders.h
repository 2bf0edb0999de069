#ifndef SERVICE_ORDERS_H_
#define SERVICE_ORDERS_H_

#include <chrono>
#include <map>
#include <optional>
#include <string>

#include "account/behaviour.h"

namespace service {

/// The longest that an operation can be ordered to take: a hundred years, as the clock can be advanced.
constexpr std::chrono::milliseconds kLongestDelay = std::chrono::hours(36600 * 24);

/// What somebody has ordered for the operations that come: to fail, to take longer, never to be answered.
class Orders {
  public:
    struct Order {
        std::optional<int> failure;  ///< the result, as in sso_api.h: SSO_ERROR_NOT_STARTED is one
        int times = 0;               ///< how often it still fails; 0: until it is taken back
        std::chrono::milliseconds delay{0};
        bool hangs = false;
    };

    /// From asJson(); "" for none. What it does not understand it leaves out.
    static Orders parse(const std::string& json);
    std::string asJson() const;

    void fail(account::Operation operation, int code, int times);
    void delay(account::Operation operation, std::chrono::milliseconds time);
    void hang(account::Operation operation);
    void clear() { m_orders.clear(); }
    const std::map<account::Operation, Order>& all() const { return m_orders; }

    /// The result with which the operation must fail now; counts it.
    ///
    /// @param start  whether it is about its start, where it fails for a failure SSO_ERROR_NOT_STARTED,
    ///               or about its end, where it fails for any other.
    std::optional<int> takeFailure(account::Operation operation, bool start);
    std::chrono::milliseconds delayOf(account::Operation operation) const;
    bool hangs(account::Operation operation) const;

  private:
    std::map<account::Operation, Order> m_orders;
};

}  // namespace service

#endif
