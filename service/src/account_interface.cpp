// What the client library asks.

#include <cerrno>
#include <memory>
#include <utility>

#include "account/operation_names.h"
#include "service.h"
#include "sso_api.h"
#include "translation.h"

using account::Account;
using account::Mapping;
using account::Operation;
using account::PopupState;
using account::Result;
using service::Answer;
using service::Exported;
using service::Message;
using service::OpenPopup;
using service::PopupKind;
using service::reply;
using sso_api::resultOf;
using sso_api::stateOf;

namespace {

/// Reads a call's texts and runs `work` with them, for a caller that may call.
template <typename... Texts, typename Work>
int handle(sd_bus_message* call, void* user, sd_bus_error* error, const bus::Method& method,
           Work work, Texts... texts) {
    Exported& exported = *static_cast<Exported*>(user);
    if (!exported.service.admit(call)) return -EACCES;
    const int read = sd_bus_message_read(call, method.in, &texts...);
    if (read < 0) return read;
    try {
        work(exported, std::string(texts)...);
        return 1;
    } catch (const std::exception& failure) {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, failure.what());
    }
}

constexpr const char* kText = "";

/// The answer of a call, whose result decides whether there are values.
template <typename Value, typename Give>
Answer answerOf(const Result<Value>& result, Give give) {
    Answer answer{resultOf(result.outcome), {}};
    if (result.outcome == account::Outcome::Ok) answer.values = give(result.value);
    return answer;
}

using Values = std::vector<std::variant<int, std::string>>;

/// A request for tokens or mappings, which takes the time that the account says.
template <typename Work>
void request(Exported& exported, sd_bus_message* call, const bus::Method& method,
             Operation operation, Work work) {
    exported.requests.start(call, method, operation,
                            exported.state.account().behaviour().requestDelay,
                            [&exported, work] { return work(exported.state); });
}

/// A query, which takes no time, and fails when the service plays to be unreachable.
template <typename Ask>
void query(Exported& exported, sd_bus_message* call, const bus::Method& method, Operation operation,
           Ask ask) {
    // A query has no start of its own: it fails for both kinds of orders.
    auto failure = exported.state.takeFailure(operation, true);
    if (!failure && exported.state.account().behaviour().isUnavailable(operation)) {
        failure = SSO_ERROR_UNAVAILABLE;
    }
    exported.requests.start(
        call, method, operation, std::chrono::milliseconds(0), [&exported, failure, ask] {
            return failure ? Answer{*failure, {}} : ask(exported.state.account());
        });
}

/// A popup answers when it ends, unless it was ordered to fail.
void show(Exported& exported, sd_bus_message* call, const bus::Method& method, Operation operation,
          OpenPopup popup, const std::string& agent) {
    if (const auto failure = exported.state.takeFailure(operation, false)) {
        reply(call, method, {*failure, {stateOf(PopupState::Failed)}});
        return;
    }
    popup.owner = sd_bus_message_get_sender(call);
    popup.agent = exported.service.agentOf(agent);
    popup.end =
        [waiting = std::shared_ptr<sd_bus_message>(sd_bus_message_ref(call), sd_bus_message_unref),
         &method](PopupState state) {
            reply(waiting.get(), method, {resultOf(outcomeOf(state)), {stateOf(state)}});
        };
    exported.state.openPopup(std::move(popup));
}

}  // namespace

int onAccountCanStart(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kCanStart,
        [&](Exported& exported, const std::string& name) {
            const auto operation = account::operationNamed(name);
            const bool isAvailable =
                operation && !exported.state.account().behaviour().isUnavailable(*operation) &&
                !exported.state.takeFailure(*operation, true);
            if (isAvailable) {
                sd_bus_reply_method_return(call, "");
            } else {
                sd_bus_reply_method_errorf(call, "example.korvane.SSO1.Error.NotStarted",
                                           "it may not be started");
            }
        },
        kText);
}

int onAccountShowLogin(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kShowLogin,
        [&](Exported& exported, const std::string& agent, const std::string& page) {
            OpenPopup popup;
            popup.kind = page.empty() ? PopupKind::CreateAccount : PopupKind::Login;
            popup.page = page;
            show(exported, call, bus::account::kShowLogin, Operation::ShowLogin, std::move(popup),
                 agent);
        },
        kText, kText);
}

int onAccountShowTerms(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kShowTerms,
        [&](Exported& exported, const std::string& agent, const std::string& termsId,
            const std::string& callerId) {
            OpenPopup popup;
            popup.kind = PopupKind::Terms;
            popup.termsId = termsId;
            popup.callerId = callerId;
            show(exported, call, bus::account::kShowTerms, Operation::ShowTerms, std::move(popup),
                 agent);
        },
        kText, kText, kText);
}

int onAccountRequestAccessToken(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kRequestAccessToken,
        [&](Exported& exported, const std::string& id, const std::string& secret) {
            request(exported, call, bus::account::kRequestAccessToken,
                    Operation::RequestAccessToken, [=](service::State& state) {
                        const account::Time now = state.now();
                        const auto token = state.change("tokens", [&](Account& account) {
                            return account.accessToken(id, secret, now);
                        });
                        return answerOf(token,
                                        [](const std::string& text) { return Values{text}; });
                    });
        },
        kText, kText);
}

int onAccountListMappings(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kListMappings,
        [&](Exported& exported, const std::string& appId, const std::string& cpName) {
            request(exported, call, bus::account::kListMappings, Operation::ListMappings,
                    [=](service::State& state) {
                        return answerOf(state.account().mappings(appId, cpName),
                                        [](const std::vector<Mapping>& mappings) {
                                            return Values{toJson(mappings)};
                                        });
                    });
        },
        kText, kText);
}

int onAccountAddMapping(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kAddMapping,
        [&](Exported& exported, const std::string& appId, const std::string& cpName,
            const std::string& cpUid) {
            request(exported, call, bus::account::kAddMapping, Operation::AddMapping,
                    [mapping = Mapping{appId, cpName, cpUid}](service::State& state) {
                        return Answer{resultOf(state.change("mappings",
                                                            [&](Account& account) {
                                                                return account.addMapping(mapping);
                                                            })),
                                      {}};
                    });
        },
        kText, kText, kText);
}

int onAccountRemoveMapping(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kRemoveMapping,
        [&](Exported& exported, const std::string& appId, const std::string& cpName,
            const std::string& cpUid) {
            request(exported, call, bus::account::kRemoveMapping, Operation::RemoveMapping,
                    [mapping = Mapping{appId, cpName, cpUid}](service::State& state) {
                        return Answer{
                            resultOf(state.change(
                                "mappings",
                                [&](Account& account) { return account.removeMapping(mapping); })),
                            {}};
                    });
        },
        kText, kText, kText);
}

int onAccountGetLoginState(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(call, user, error, bus::account::kGetLoginState, [&](Exported& exported) {
        query(exported, call, bus::account::kGetLoginState, Operation::GetLoginState,
              [](const Account& account) {
                  return Answer{SSO_OK,
                                {account.isSignedIn() ? SSO_LOGIN_STATE_SIGNED_IN
                                                      : SSO_LOGIN_STATE_SIGNED_OUT}};
              });
    });
}

int onAccountGetTermState(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(
        call, user, error, bus::account::kGetTermState,
        [&](Exported& exported, const std::string& termsId) {
            query(
                exported, call, bus::account::kGetTermState, Operation::GetTermState,
                [=](const Account& account) {
                    return answerOf(account.isAgreed(termsId), [](bool isAgreed) {
                        return Values{isAgreed ? SSO_TERM_STATE_AGREED : SSO_TERM_STATE_NOT_AGREED};
                    });
                });
        },
        kText);
}

int onAccountGetLoginInfo(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(call, user, error, bus::account::kGetLoginInfo, [&](Exported& exported) {
        query(exported, call, bus::account::kGetLoginInfo, Operation::GetLoginInfo,
              [](const Account& account) {
                  return answerOf(account.identity(), [](const account::Identity& identity) {
                      return Values{identity.loginId, identity.uid};
                  });
              });
    });
}

int onAccountGetGuid(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(call, user, error, bus::account::kGetGuid, [&](Exported& exported) {
        query(exported, call, bus::account::kGetGuid, Operation::GetGuid,
              [](const Account& account) {
                  return answerOf(account.identity(), [](const account::Identity& identity) {
                      return Values{identity.guid};
                  });
              });
    });
}

int onAccountGetAuthToken(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(call, user, error, bus::account::kGetAuthToken, [&](Exported& exported) {
        query(exported, call, bus::account::kGetAuthToken, Operation::GetAuthToken,
              [](const Account& account) {
                  return answerOf(account.identity(), [](const account::Identity& identity) {
                      return Values{identity.authToken};
                  });
              });
    });
}

int onAccountCancelAll(sd_bus_message* call, void* user, sd_bus_error* error) {
    return handle(call, user, error, bus::account::kCancelAll, [&](Exported& exported) {
        const std::string owner = sd_bus_message_get_sender(call);
        exported.requests.cancel(owner);
        exported.state.endPopupsOf(owner);
        sd_bus_reply_method_return(call, "");
    });
}
