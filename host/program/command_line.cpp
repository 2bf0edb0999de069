#include "command_line.h"

#include <CLI/CLI.hpp>

#include "embedder/application_manifest.h"

namespace {

constexpr const char* kDescription =
    "Loads a Pepper module, plays its page from JSON lines on standard input, and writes what the "
    "page gets as JSON lines to standard output.";

constexpr const char* kHelpEnd = R"(
Input, one object per line; blank lines and those that begin with # or // are none. Instance 1 is
there from the start:
  {"post": VALUE}          postMessage          optional: "instance": N (default: the lowest)
  {"call": VALUE}          a blocking message   optional: "instance": N, "timeout": SECONDS (30)
  {"embed": true}          another instance     or {"embed": {"attribute": "text", ...}}
                           of another application with "grant": ["NAME", ...] or
                           "manifest": "FILE" or both; else of the command line's
  {"destroy": N}           removes an instance
  {"unregister": N}        takes its message handler away
  {"wait": N}              until N more messages have come     optional: "timeout": SECONDS (30)
VALUE is JSON; what JSON lacks is {"$type":"undefined"}, {"$type":"double","value":1.0},
{"$type":"arraybuffer","bytes":[0,1,255]}.

Output, one object per line, with time, instance, and line and command of the input that it belongs to:
  {"reply": VALUE}         of a call
  {"message": VALUE}       from the module; without a line when it answers no post
  {"embedded": true}, {"destroyed": true}, {"unregistered": true}
  {"error": {...}}         with line, reason, and the command if there is one
What --messages writes can be input again, also of a run of sso-browser: its requests are sent as
they were, and each posted one's answer is waited for. Other output as input does nothing.

--replay FILE takes what --messages of either program has written to FILE, in the place of the input,
and writes that all answers are the same, or where the first difference is: its line in FILE, what was
recorded, and what came. Times are not compared, nor the order of answers to different commands. A
pseudonym stands for any text, always the same.

At the end of the input it waits until each post was answered by a message, but not longer than
--linger, then unloads the module. A post without an answer is an error.

Exit codes:
  0      all went well
  1      a line had an error, the output could not be written, or the module hung or left;
         --replay: there is a difference
  2      wrong command line or file, or the module could not be started; nothing was sent
  3      the module broke the rules for references, told on standard error
  4      --strict: a request was refused

Examples:
  echo '{"call":{"command":"sso_plugin_getVersion"}}' | sso-host --grant partner
  sso-host --manifest web/demo/manifest.json --log < requests.jsonl
  sso-host --grant partner --account account/examples/signed-in.json < requests.jsonl
  printf '%s\n' '{"post":{"command":"sso_plugin_getVersion"}}' '{"wait":1}' | sso-host
  sso-host --grant partner --messages - < requests.jsonl | sso-host --grant partner
  sso-host --replay field.jsonl --account account/examples/signed-in.json --grant partner)";

std::chrono::milliseconds millisecondsOf(double seconds) {
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

std::string checkSeconds(const std::string& text) {
    double seconds = 0;
    const bool good = CLI::detail::lexical_cast(text, seconds) &&  // a NaN is neither
                      seconds >= 0 && seconds <= 86400;
    return good ? std::string() : "must be a number of seconds from 0 to 86400";
}

}  // namespace

CommandLine readCommandLine(int argc, char** argv) {
    CLI::App app(kDescription, "sso-host");
    app.footer(kHelpEnd);
    const embedder::CommonOptions common(app, "Take name and privileges of this application");
    CommandLine commandLine;
    bool noExtension = false;
    double linger = 5;
    double moduleTimeout = 30;
    app.add_flag("--no-extension", noExtension, "Do not offer the vendor interface");
    app.add_option("--linger", linger,
                   "Longest wait for answers at the end of the input, and for each with --replay")
        ->type_name("SECONDS")
        ->check(&checkSeconds)
        ->capture_default_str();
    app.add_option("--module-timeout", moduleTimeout,
                   "Longest time for the module to start, to make or remove an instance, or to end")
        ->type_name("SECONDS")
        ->check(&checkSeconds)
        ->capture_default_str();
    app.add_option("--replay", commandLine.replay,
                   "Send the requests of this recording again, and compare the answers")
        ->type_name("FILE");
    app.add_flag("--strict", commandLine.strict, "Fail when the plug-in refused a request");
    if (const auto end = embedder::parseCommandLine(app, argc, argv)) throw CommandLineEnd{*end};

    commandLine.common = common.read();
    commandLine.linger = millisecondsOf(linger);
    commandLine.moduleTimeout = millisecondsOf(moduleTimeout);
    // Also when it is not offered, so that a mistake in the manifest is told.
    commandLine.application = applicationOf(commandLine.common.manifest, commandLine.common.grants);
    if (noExtension) commandLine.application.reset();
    return commandLine;
}

embedder::Application applicationOf(const std::string& manifest,
                                    const std::set<std::string>& grants) {
    embedder::Application application = {"sso-host", grants};
    if (manifest.empty()) return application;
    const embedder::ApplicationManifest declared = embedder::readManifest(manifest);
    application.name = declared.name;
    application.grants.insert(declared.privileges.begin(), declared.privileges.end());
    return application;
}
