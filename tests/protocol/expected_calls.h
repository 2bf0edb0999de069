#ifndef PROTOCOL_EXPECTED_CALLS_H_
#define PROTOCOL_EXPECTED_CALLS_H_

#include <initializer_list>
#include <string>

#include "event_matchers.h"

// What the plug-in's calls have to be, written out. Line numbers are part of the output where a
// number stands; elsewhere any will do.

namespace protocol {

using support::called;
using support::EventMatcher;
using support::EventMatchers;
using support::Kind;
using support::logged;
using support::Place;
using support::Supplier;

inline Place instancePlace(int line) { return {"PluginSSO", "CPluginSSO", line}; }
inline Place handlerPlace(const char* function, int line = Place::kAnyLine) {
    return {"PluginSSOMessageHandle", function, line};
}
inline Place postedPlace(int line) { return handlerPlace("HandleMessageImpl", line); }
inline Place askedPlace(int line) { return handlerPlace("HandleBlockingMessageImpl", line); }
inline Place accountPlace(const char* function, int line) {
    return {"SSOUtil", function, line, "PP_PLUGIN_SSO"};
}

/// The lists one after the other.
inline EventMatchers sequence(std::initializer_list<EventMatchers> parts) {
    EventMatchers all;
    for (const EventMatchers& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline EventMatcher asked(const std::string& privilegeIdentifier) {
    return called(Supplier::Extension,
                  "GenericSyncCall(check_ace_privilege, \"" + privilegeIdentifier + "\")");
}

/// What a handler's function says when it opens its scope for call tracing.
///
/// @param line  of the first of the two lines.
inline EventMatchers scope(const char* function, int line) {
    return {logged(Kind::Flow, handlerPlace(function, line),
                   std::string("NDL-HT running : ") + function),
            logged(Kind::Flow, handlerPlace(function, line + 2), "NDL-HT done")};
}

/// The gate, asked for a name that is no command.
inline EventMatchers gateForNoCommand() { return scope("m_CheckPrivilege", 584); }

inline EventMatchers gate(const std::string& command) {
    return sequence({gateForNoCommand(),
                     {logged(Kind::Detail, handlerPlace("m_CheckPrivilege"), "check %s privilege",
                             "check " + command + " privilege")}});
}

inline EventMatchers postedStart() {
    return sequence({{logged(Kind::Flow, postedPlace(107), "HandleMessageImpl SSO start")},
                     scope("HandleMessageImpl", 108)});
}
inline EventMatcher postedEnd() {
    return logged(Kind::Flow, postedPlace(278), "HandleMessageImpl end");
}
inline EventMatchers askedStart() {
    return sequence({{logged(Kind::Flow, askedPlace(284), "HandleBlockingMessageImpl start")},
                     scope("HandleBlockingMessageImpl", 285)});
}

/// A blocking request up to where its command begins.
inline EventMatchers askedFor(const std::string& command, int line) {
    return sequence(
        {askedStart(), gate(command), {logged(Kind::Detail, askedPlace(line), command)}});
}

/// m_ResponseData up to where it posts.
inline EventMatchers responseBegin(const std::string& command, int status,
                                   const std::string& errorName, const std::string& errorMessage) {
    const Place start = handlerPlace("m_ResponseData", 56);
    const Place parameters = handlerPlace("m_ResponseData", 64);
    return sequence({{logged(Kind::Detail, start, "START")},
                     scope("m_ResponseData", 57),
                     {logged(Kind::Detail, parameters,
                             "responseData START, command [%s], status [%d], errorName [%s], "
                             "errorMessage [%s], data length [%d]",
                             "responseData START, command [" + command + "], status [" +
                                 std::to_string(status) + "], errorName [" + errorName +
                                 "], errorMessage [" + errorMessage + "], data length [1]")}});
}
inline EventMatcher responseEnd() {
    return logged(Kind::Detail, handlerPlace("m_ResponseData", 102), "m_ResponseData END");
}
inline EventMatcher messagePosted() { return called(Supplier::Browser, "PostMessage"); }

/// An answer that goes out.
inline EventMatchers response(const std::string& command, int status, const std::string& errorName,
                              const std::string& errorMessage) {
    return sequence(
        {responseBegin(command, status, errorName, errorMessage),
         {logged(Kind::Flow, handlerPlace("m_ResponseData", 94), "send message to web app"),
          messagePosted(), responseEnd()}});
}

/// An answer that has no page to go to, because its instance is being destroyed.
inline EventMatchers droppedResponse(const std::string& command, int status) {
    return sequence({responseBegin(command, status, "", ""),
                     {logged(Kind::Error, handlerPlace("m_ResponseData", 90),
                             "m_poInstance is null didn't called PostMessage"),
                      responseEnd()}});
}

/// The end of the worker's loop and of the handler. `endedOperations` happens inside
/// sso_give_proxy.
inline EventMatchers destruction(const EventMatchers& endedOperations = {}) {
    const Place place = handlerPlace("~CPluginSSOMessageHandler");
    return sequence({{called(Supplier::Browser, "Run returned"),
                      logged(Kind::Flow, place, "Destructor called start"),
                      called(Supplier::Configuration,
                             "vconf_ignore_key_changed(memory/sso/login_status, null)"),
                      called(Supplier::Configuration,
                             "vconf_ignore_key_changed(memory/sso/view_status, null)")},
                     scope("~CPluginSSOMessageHandler", 41),
                     {logged(Kind::Flow, place, "give proxy start"),
                      called(Supplier::Library, "sso_give_proxy")},
                     endedOperations,
                     {logged(Kind::Flow, place, "give proxy end"),
                      logged(Kind::Flow, place, "Destructor called end")}});
}

}  // namespace protocol

#endif
