#ifndef BROWSER_WRAPPER_EVENTS_H_
#define BROWSER_WRAPPER_EVENTS_H_

#include <nlohmann/json_fwd.hpp>
#include <string>

/// What the plug-in process tells the browser, as lines in a named pipe: JSON arrays whose first element
/// is a name of the list below.
namespace browser {

inline constexpr char kEventStarted[] = "started";    ///< the plug-in is loaded
inline constexpr char kEventCreated[] = "created";    ///< instance
inline constexpr char kEventGone[] = "gone";          ///< instance
inline constexpr char kEventPosted[] = "posted";      ///< instance, command
inline constexpr char kEventAnswered[] = "answered";  ///< instance, command
inline constexpr char kEventCalled[] = "called";      ///< instance, command, number
inline constexpr char kEventReplied[] = "replied";    ///< number
inline constexpr char kEventRefused[] = "refused";    ///< command
inline constexpr char kEventStranger[] = "stranger";  ///< address of a document
inline constexpr char kEventMessage[] = "message";    ///< a line for --messages
inline constexpr char kEventEnding[] = "ending";      ///< how the process ends, in words

/// Opens the pipe, once, and says there how this process ends, when it can.
///
/// @param path  of the pipe.
void openEvents(const std::string& path);

/// Any thread. Nothing while the pipe is not open.
void sendEvent(const nlohmann::json& event);

}  // namespace browser

#endif
