#ifndef SDK_CALL_H_
#define SDK_CALL_H_

// Calls of a device's libraries, whatever their headers are like in detail: where one SDK has an int,
// another has an enumeration, and texts come as char* here and as const char* there. What is meant is the
// same, and so is what the machine does.

#include <tuple>
#include <type_traits>

namespace sdk {

/// What the client library's queries return when they filled their argument.
constexpr int kSuccess = 0;

/// The types of a function's parameters, as a tuple. Never called.
template <typename Result, typename... Types>
std::tuple<Types...> parametersOf(Result (*function)(Types...));
template <typename Result, typename... Types>
std::tuple<Types...> parametersOf(Result (*function)(Types..., ...));

template <typename>
constexpr bool kNever = false;

/// The value as the SDK's type for it.
template <typename To, typename From>
constexpr To as(From value) {
    if constexpr (std::is_convertible_v<From, To>) {
        return value;
    } else if constexpr (std::is_enum_v<To> && (std::is_integral_v<From> || std::is_enum_v<From>)) {
        return static_cast<To>(value);
    } else if constexpr (std::is_same_v<From, const char*> && std::is_same_v<To, char*>) {
        return const_cast<To>(value);  // nobody writes there: it was const by another SDK
    } else {
        static_assert(kNever<To>,
                      "the SDK wants a number, an enumeration or a text here, or gives one");
    }
}

/// A function that is handed to the SDK, as a function of the type that the SDK calls.
template <auto function>
class Callback {
  public:
    template <typename Result, typename... Types>
    using Pointer = Result (*)(Types...);

    template <typename Result, typename... Types>
    constexpr operator Pointer<Result, Types...>() const {  // NOLINT(google-explicit-constructor)
        if constexpr (std::is_same_v<decltype(function), Pointer<Result, Types...>>) {
            return function;
        } else {
            return &call<Result, Types...>;
        }
    }

  private:
    template <typename Result, typename... Types>
    static Result call(Types... values) {
        return callWith<Result>(function, values...);
    }
    template <typename Result, typename Own, typename... Parameters, typename... Types>
    static Result callWith(Own (*own)(Parameters...), Types... values) {
        static_assert(sizeof...(Parameters) == sizeof...(Types),
                      "the SDK calls back with another number of values than the plug-in expects");
        return static_cast<Result>(own(as<Parameters>(values)...));
    }
};

/// Calls a function of the SDK.
template <typename Result, typename... Parameters, typename... Arguments>
Result call(Result (*function)(Parameters...), Arguments... arguments) {
    static_assert(sizeof...(Parameters) == sizeof...(Arguments),
                  "the SDK's function takes another number of arguments than the plug-in gives");
    return function(as<Parameters>(arguments)...);
}

}  // namespace sdk

#endif
