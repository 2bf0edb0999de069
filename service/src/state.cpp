#include "state.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <utility>
#include <vector>

#include "account/account_file.h"
#include "password.h"
#include "popup_names.h"
#include "random_id.h"
#include "state_texts.h"
#include "windows.h"

namespace service {

using account::Outcome;
using account::PopupState;
using std::chrono::milliseconds;

namespace {

constexpr const char* kBehaviour = "behaviour";
constexpr const char* kOrders = "orders";
constexpr const char* kClock = "clockOffsetMs";
constexpr const char* kNextPopups = "nextPopups";
constexpr const char* kMade = "made";           // of a store that is not empty any more
constexpr std::size_t kShortestPassword = 8;    // characters
constexpr std::size_t kLongestPassword = 1024;  // bytes

milliseconds readOffset(const std::string& text) {
    std::int64_t offset = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, offset);
    const bool isClock =
        read.ec == std::errc() && read.ptr == end && offset >= 0 && offset <= kLatestClock.count();
    if (!text.empty() && !isClock) throw StoreError("its clock is none: somebody has changed it");
    return milliseconds(offset);
}

std::string field(const std::map<std::string, std::string>& fields, const char* name) {
    const auto found = fields.find(name);
    return found != fields.end() ? found->second : std::string();
}

/// Of a text in UTF-8.
std::size_t countCharacters(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
    }));
}

bool isBlank(char letter) { return static_cast<unsigned char>(letter) <= ' '; }

/// What is wrong with a new account's sign-in name; "" for nothing.
std::string faultOf(const std::string& loginId, const account::Account& account) {
    if (loginId.empty()) return "Choose a sign-in name.";
    // Nobody sees them, so nobody could sign in with them.
    if (std::any_of(loginId.begin(), loginId.end(), isBlank)) {
        return "The sign-in name must have no blanks.";
    }
    if (loginId.size() > account::kLongestId) return "The sign-in name is too long.";
    if (account.find(loginId) != nullptr) return "This sign-in name is taken.";
    return "";
}

const std::optional<account::Popup>& scripted(const account::Behaviour& behaviour, PopupKind kind) {
    switch (kind) {
        case PopupKind::CreateAccount:
            return behaviour.createAccount;
        case PopupKind::Terms:
            return behaviour.terms;
        case PopupKind::Login:
            break;
    }
    return behaviour.login;
}

std::map<PopupKind, PopupState> readNextPopups(const std::string& text) {
    std::map<PopupKind, PopupState> next;
    const Json json = Json::parse(text, nullptr, false);
    if (!json.is_object()) return next;
    for (const auto& [name, value] : json.items()) {
        const auto kind = popupKindNamed(name);
        const auto state =
            popupStateNamed(value.is_string() ? value.get<std::string>() : std::string());
        if (kind && state) next[*kind] = *state;
    }
    return next;
}

}  // namespace

State::State(std::string name, const std::filesystem::path& file, World& world)
    : m_name(std::move(name)), m_world(world), m_store(file) {
    if (m_store.value(kMade).empty()) {
        keep(account::parseAccountFile(kNewStateText, "new_state.json"), {});
    }
    reload();
}

void State::reload() {
    m_seen = m_store.changes();
    account::Description description = m_store.load();
    const std::string behaviour = m_store.value(kBehaviour);
    if (!behaviour.empty()) {
        description.behaviour = account::parseAccountFile(behaviour, kBehaviour).behaviour;
    }
    m_account = account::Account(std::move(description), &m_store);
    m_orders = Orders::parse(m_store.value(kOrders));
    m_clockOffset = readOffset(m_store.value(kClock));
    m_nextPopups = readNextPopups(m_store.value(kNextPopups));
}

void State::refresh() {
    if (m_store.changes() != m_seen) reload();
}

void State::changed(const char* what) { tell({{"event", "changed"}, {"what", what}}); }

void State::tell(Json event) {
    Json told = {{"time", now()}};
    told.update(event);
    m_world.tell(m_name, told);
}

const account::Account& State::account() {
    refresh();
    return m_account;
}

void State::administer(const char* what, const std::function<void(account::Description&)>& work) {
    refresh();
    account::Description description = m_account.description();
    work(description);
    keep(std::move(description), {});
    changed(what);
}

void State::replace(account::Description description, Orders orders, milliseconds clock) {
    keep(
        std::move(description),
        {{kOrders, orders.asJson()}, {kClock, std::to_string(clock.count())}, {kNextPopups, "{}"}});
    m_nextPopups.clear();
    m_orders = std::move(orders);
    m_clockOffset = clock;
    changed("state");
}

void State::keep(account::Description description, std::map<std::string, std::string> values) {
    for (account::Profile& profile : description.profiles) {
        if (!profile.password.empty() && !isHash(profile.password)) {
            profile.password = hashPassword(profile.password);
        }
    }
    account::Description behaviour;
    behaviour.behaviour = description.behaviour;
    values[kBehaviour] = account::toJson(behaviour);
    values[kMade] = "1";
    m_store.replace(description, values);
    m_account = account::Account(std::move(description), &m_store);
}

account::Time State::now() {
    const auto real = std::chrono::duration_cast<milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    return (real + m_clockOffset).count();
}

milliseconds State::clockOffset() {
    refresh();
    return m_clockOffset;
}

void State::setClockOffset(milliseconds offset) {
    m_store.setValue(kClock, std::to_string(offset.count()));
    m_clockOffset = offset;
    changed("clock");
}

const Orders& State::orders() {
    refresh();
    return m_orders;
}

void State::order(const std::function<void(Orders&)>& work) {
    refresh();
    Orders orders = m_orders;
    work(orders);
    m_store.setValue(kOrders, orders.asJson());
    m_orders = std::move(orders);
    changed("orders");
}

std::optional<int> State::takeFailure(account::Operation operation, bool start) {
    refresh();
    Orders orders = m_orders;
    const auto failure = orders.takeFailure(operation, start);
    if (failure) {
        if (orders.asJson() != m_orders.asJson()) m_store.setValue(kOrders, orders.asJson());
        m_orders = std::move(orders);
    }
    return failure;
}

void State::openPopup(OpenPopup popup) {
    refresh();
    popup.id = m_nextId++;
    const std::uint64_t id = popup.id;
    const PopupKind kind = popup.kind;
    OpenPopup& open = m_popups[id] = std::move(popup);
    tell({{"event", "popup"}, {"popup", id}, {"kind", nameOf(kind)}, {"is", "open"}});
    if (m_orders.hangs(kind == PopupKind::Terms ? account::Operation::ShowTerms
                                                : account::Operation::ShowLogin)) {
        return;
    }
    const auto next = m_nextPopups.find(kind);
    const auto& set = scripted(m_account.behaviour(), kind);
    if (next != m_nextPopups.end()) {
        const PopupState state = next->second;
        auto left = m_nextPopups;
        left.erase(kind);
        keepNextPopups(left);
        open.timer = m_world.loop().after(milliseconds(0), [=] { endPopup(id, state); });
    } else if (set) {
        open.timer =
            m_world.loop().after(set->delay, [=, state = set->state] { endPopup(id, state); });
    } else if (!open.agent.empty()) {
        showPopup(open);
    } else {
        open.timer =
            m_world.loop().after(milliseconds(0), [=] { endPopup(id, PopupState::Failed); });
    }
}

void State::showPopup(OpenPopup& popup) {
    const Window window = windowOf(popup, m_account);
    m_world.openWindow(popup, window.title, window.html,
                       [this, id = popup.id] { endPopup(id, PopupState::Failed); });
}

void State::endPopup(std::uint64_t id, PopupState state) {
    const auto found = m_popups.find(id);
    if (found == m_popups.end()) return;
    // Out of the others first: whatever it leads to, it ends once.
    const OpenPopup popup = std::move(found->second);
    m_popups.erase(found);
    if (!popup.agent.empty()) m_world.closeWindow(popup);
    PopupState ended = PopupState::Failed;
    try {
        refresh();
        ended = popup.kind == PopupKind::Terms ? m_account.endTerms(state, popup.termsId)
                                               : m_account.endLogin(state);
        if (state == PopupState::Completed) {
            changed(popup.kind == PopupKind::Terms ? "terms" : "session");
        }
    } catch (const StoreError& error) {
        std::fprintf(stderr, "ssod: %s\n", error.what());
    }
    tell({{"event", "popup"},
          {"popup", id},
          {"kind", nameOf(popup.kind)},
          {"is", "ended"},
          {"state", nameOf(ended)}});
    popup.end(ended);
}

void State::fillPopup(std::uint64_t id, const std::map<std::string, std::string>& fields,
                      bool submit) {
    const auto found = m_popups.find(id);
    if (found != m_popups.end() && !found->second.agent.empty()) {
        m_world.fillWindow(found->second, fields, submit);
    }
}

void State::setNextPopup(PopupKind kind, PopupState state) {
    auto next = nextPopups();
    next[kind] = state;
    keepNextPopups(next);
    changed("orders");
}

const std::map<PopupKind, PopupState>& State::nextPopups() {
    refresh();
    return m_nextPopups;
}

void State::clearNextPopups() {
    keepNextPopups({});
    changed("orders");
}

void State::keepNextPopups(const std::map<PopupKind, PopupState>& next) {
    Json json = Json::object();
    for (const auto& [kind, state] : next) json[nameOf(kind)] = nameOf(state);
    m_store.setValue(kNextPopups, json.dump());
    m_nextPopups = next;
}

void State::endPopupsOf(const std::string& busName) {
    std::vector<std::uint64_t> ids;
    for (const auto& [id, popup] : m_popups) {
        if (popup.owner == busName || popup.agent == busName) ids.push_back(id);
    }
    for (const std::uint64_t id : ids) endPopup(id, PopupState::Cancelled);
}

void State::endAllPopups() {
    while (!m_popups.empty()) endPopup(m_popups.begin()->first, PopupState::Cancelled);
}

std::optional<FormErrors> State::submit(std::uint64_t id, const std::string& action,
                                        const std::map<std::string, std::string>& fields) {
    const auto found = m_popups.find(id);
    if (found == m_popups.end()) return std::nullopt;
    OpenPopup& popup = found->second;
    refresh();
    if (action == "cancel") {
        endPopup(id, PopupState::Closed);
        return std::nullopt;
    }
    if (popup.kind == PopupKind::Terms) {
        if (action != "agree") return FormErrors{{"", "This button does nothing here."}};
        if (!m_account.isSignedIn()) return FormErrors{{"", "Sign in before you agree."}};
        endPopup(id, PopupState::Completed);
        return std::nullopt;
    }
    if (action == "show-create-account" || action == "show-login") {
        popup.kind = action == "show-login" ? PopupKind::Login : PopupKind::CreateAccount;
        showPopup(popup);
        return FormErrors{};
    }
    if (action == "sign-in") {
        const std::string loginId = field(fields, "loginId");
        if (loginId.empty()) return FormErrors{{"loginId", "Enter your sign-in name."}};
        const account::Profile* profile = m_account.find(loginId);
        // Which of the two is wrong is nobody's business. A try takes 60 ms of the only thread, for which calls of other
        // states wait, too: once for each window, whose form waits for its answer. Queries have seconds.
        if (!isPassword(profile != nullptr ? profile->password : "", field(fields, "password"))) {
            return FormErrors{{"password", "The sign-in name or the password is wrong."}};
        }
        m_account.signIn(loginId);
        endPopup(id, PopupState::Completed);
        return std::nullopt;
    }
    if (action == "create-account") {
        FormErrors errors = createAccount(fields);
        if (!errors.empty()) return errors;
        endPopup(id, PopupState::Completed);
        return std::nullopt;
    }
    return FormErrors{{"", "This button does nothing here."}};
}

FormErrors State::createAccount(const std::map<std::string, std::string>& fields) {
    account::Profile profile;
    profile.identity.loginId = field(fields, "loginId");
    profile.displayName = field(fields, "displayName");
    profile.password = field(fields, "password");
    const std::string& loginId = profile.identity.loginId;
    FormErrors errors;
    const std::string fault = faultOf(loginId, m_account);
    if (!fault.empty()) errors["loginId"] = fault;
    if (profile.displayName.size() > account::kLongestId) {
        errors["displayName"] = "The name is too long.";
    }
    if (countCharacters(profile.password) < kShortestPassword) {
        errors["password"] = "The password needs 8 characters or more.";
    } else if (profile.password.size() > kLongestPassword) {
        errors["password"] = "The password is too long.";
    } else if (profile.password != field(fields, "repeated")) {
        errors["repeated"] = "The two passwords are not the same.";
    }
    if (!errors.empty()) return errors;
    profile.identity.uid = randomId("uid-");
    profile.identity.guid = randomId("guid-");
    profile.identity.authToken = randomId("auth-");
    administer("accounts", [&](account::Description& description) {
        description.profiles.push_back(profile);
        description.signedIn = profile.identity.loginId;
    });
    return errors;
}

}  // namespace service
