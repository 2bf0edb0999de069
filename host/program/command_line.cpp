#include "command_line.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <vector>

#include "account/account_file.h"
#include "runtime/application_manifest.h"

namespace {

constexpr const char* kDescription =
    "Loads a Pepper module, plays its page from JSON lines on standard input, and writes what the "
    "page gets as JSON lines to standard output.";

constexpr const char* kHelpEnd = R"(
Input, one object per line; instance 1 is there from the start:
  {"post": VALUE}          postMessage          optional: "instance": N (default: the lowest)
  {"call": VALUE}          a blocking message   optional: "instance": N, "timeout": SECONDS (30)
  {"embed": true}          another instance     or {"embed": {"attribute": "text", ...}}
  {"destroy": N}           removes an instance
  {"unregister": N}        takes its message handler away
  {"wait": N}              until N more messages have come     optional: "timeout": SECONDS (30)
VALUE is JSON; what JSON lacks is {"$type":"undefined"}, {"$type":"double","value":1.0},
{"$type":"arraybuffer","base64":"AAH/"}.

At the end of the input it waits until each post was answered by a message, but not longer than
--linger, then unloads the module.

Exit code: 0 all went well; 1 a line had an error, told as {"error": ...}; 2 nothing could be
started; 3 the module broke the rules for references, told on standard error.

Examples:
  echo '{"call":{"command":"sso_plugin_getVersion"}}' | sso-host --grant partner
  sso-host --manifest web/demo/manifest.json --log < requests.jsonl
  sso-host --grant partner --account account/examples/signed-in.json < requests.jsonl
  printf '%s\n' '{"post":{"command":"sso_plugin_getVersion"}}' '{"wait":1}' | sso-host)";

std::string defaultModule() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path().parent_path() / "lib" / "libsso.so").string();
}

}  // namespace

CommandLine readCommandLine(int argc, char** argv) {
    CommandLine commandLine;
    std::vector<std::string> grants;
    std::string manifest;
    std::string account;
    bool noExtension = false;
    double linger = 5;

    CLI::App app(kDescription, "sso-host");
    app.footer(kHelpEnd);
    app.add_option(
           "--module", commandLine.modulePath,
           "The module's shared object (default: ../lib/libsso.so, from this program's folder)")
        ->type_name("PATH");
    app.add_option("--grant", grants,
                   "Grant a privilege: partner, platform, public, or its full URL; repeatable")
        ->type_name("NAME")
        ->allow_extra_args(false);
    app.add_option("--manifest", manifest, "Take name and privileges of this application")
        ->type_name("FILE");
    app.add_option("--account", account, "Let this account be on the device")->type_name("FILE");
    app.add_flag("--no-extension", noExtension, "Do not offer the vendor interface");
    app.add_flag("--log", commandLine.log, "Show the module's log lines on standard error");
    app.add_option("--linger", linger, "Longest wait for answers at the end of the input")
        ->type_name("SECONDS")
        ->check([](const std::string& text) {
            double seconds = 0;
            const bool good = CLI::detail::lexical_cast(text, seconds) &&  // a NaN is neither
                              seconds >= 0 && seconds <= 86400;
            return good ? std::string() : "must be a number of seconds from 0 to 86400";
        })
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        throw CommandLineEnd{app.exit(error) == 0 ? 0 : kCannotStart};
    }

    if (commandLine.modulePath.empty()) commandLine.modulePath = defaultModule();
    commandLine.extension = !noExtension;
    commandLine.linger = std::chrono::milliseconds(static_cast<std::int64_t>(linger * 1000));
    if (!manifest.empty()) {
        const runtime::ApplicationManifest application = runtime::readManifest(manifest);
        commandLine.applicationName = application.name;
        commandLine.grants = application.privileges;
    }
    if (!account.empty()) {
        account::readAccountFile(account);
        commandLine.accountFile = std::filesystem::absolute(account).string();
    }
    for (const std::string& grant : grants) {
        commandLine.grants.insert(runtime::privilegeIdentifier(grant));
    }
    return commandLine;
}
