#include "src/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

namespace browser {
namespace {

constexpr int kLargestSide = 16384;
constexpr double kLongestWait = 1e6;  // seconds; still fits the milliseconds of a timer

constexpr const char* kFooter = R"(
FOLDER holds an application: its pages and a manifest.json such as
  { "name": "Demo", "start": "index.html", "privileges": ["sso.partner"] }
With several targets each gets a window, and --grant, --run-script, --screenshot and --quit-after
are for the first. A folder is served to the browser as http://NAME.localhost, the same NAME on every
run. What is granted to an application goes to documents of its origin, and to no others.

The page's console goes to stdout, one entry in one line, as "console.log: TEXT", or with
--console json as an object with level, text, arguments, file and line. What a page asked and was
answered is a line "dialog: TEXT", what a script returned "result: JSON". Without a display the
browser runs on a virtual one (Xvfb) that it starts itself.

The engine runs without its sandbox, as the plug-in has to reach the device's libraries: open no pages
that you do not trust. Any other site can do what this user can, but gets no grant.

Exit codes:
  0      done
  1      the page, its script, the display or the output failed
  2      wrong command line or file; nothing was started
  3      --timeout has passed
  4      --strict: something went wrong on the way
  128+N  ended by signal N

Examples:
  sso-browser my-app
  sso-browser my-app --account account/examples/signed-in.json --log
  sso-browser http://localhost:8000/ --grant partner --grant platform
  sso-browser my-app --run-script steps.js --screenshot end.png
  sso-browser my-app another/application
  sso-browser my-app --devtools

Keys: F5 or Ctrl+R reloads, Ctrl++ Ctrl+- Ctrl+0 zoom, F12 or Ctrl+Shift+I opens and
closes the inspector; the context menu has Inspect. F9 opens and closes the desk's panel.
)";

double readSeconds(const char* option, const std::string& text) {
    double seconds = 0;
    // Written so that "nan", which is a number to the conversion, is refused too.
    if (!CLI::detail::lexical_cast(text, seconds) || !(seconds >= 0 && seconds <= kLongestWait)) {
        throw CLI::ValidationError(option, "must be a number of seconds, like 0.5");
    }
    return seconds;
}

int readPort(const std::string& option, const std::string& text) {
    int port = 0;
    if (!CLI::detail::lexical_cast(text, port) || port < 0 || port > 65535) {
        throw embedder::InputError(option + ": the port must be a number from 0 to 65535");
    }
    return port;
}

template <typename Value>
Value readWord(const char* option, const std::string& text, const char* one, Value oneValue,
               const char* other, Value otherValue) {
    if (text == one) return oneValue;
    if (text == other) return otherValue;
    throw CLI::ValidationError(option, std::string("must be ") + one + " or " + other);
}

void readSize(const std::string& text, Options& options) {
    int width = 0;
    int height = 0;
    int used = 0;
    if (std::sscanf(text.c_str(), "%5dx%5d%n", &width, &height, &used) != 2 ||
        static_cast<std::size_t>(used) != text.size() || width < 1 || height < 1 ||
        width > kLargestSide || height > kLargestSide) {
        throw CLI::ValidationError("--size", "must be WIDTHxHEIGHT in pixels, like 1280x800");
    }
    options.width = width;
    options.height = height;
}

}  // namespace

std::variant<Options, int> parseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app{"Opens web applications in a browser that carries the SSO plug-in.",
                 "sso-browser"};
    app.footer(kFooter);
    app.add_option("target", options.targets, "URLs, or folders of applications")
        ->type_name("URL|FOLDER")
        ->required();
    const embedder::CommonOptions common(
        app, "Read this manifest; default: manifest.json in FOLDER, none for a URL");
    app.add_option(
           "--run-script", options.scripts,
           "Run this JavaScript in the loaded page, as the body of an async function, print "
           "what it returns and quit; - reads standard input; several run in their order")
        ->type_name("FILE")
        ->take_all()
        ->allow_extra_args(false);
    app.add_flag("--stay", options.stay, "Do not quit after the scripts");
    app.add_option_function<std::string>(
           "--quit-after",
           [&options](const std::string& text) {
               options.quitAfter = readSeconds("--quit-after", text);
           },
           "Quit this long after loading, or after the last script; default: stay without a script")
        ->type_name("SECONDS");
    app.add_option_function<std::string>(
           "--timeout",
           [&options](const std::string& text) {
               options.timeout = readSeconds("--timeout", text);
           },
           "End everything after this time; default: 60 with a script, never without")
        ->type_name("SECONDS");
    app.add_flag(
        "--strict", options.strict,
        "Fail when there was an uncaught error, a resource that failed to load, or a request "
        "that was refused or had no answer, or when the plug-in's process ended");
    app.add_option_function<std::string>(
           "--dialogs",
           [&options](const std::string& text) {
               options.dialogs = readWord("--dialogs", text, "accept", Dialogs::Accept, "dismiss",
                                          Dialogs::Dismiss);
           },
           "Answer what a page asks; default: dismiss with a script or without a display, "
           "otherwise "
           "a person does")
        ->type_name("accept|dismiss");
    app.add_option_function<std::string>(
           "--console",
           [&options](const std::string& text) {
               options.console = readWord("--console", text, "text", Console::Form::Text, "json",
                                          Console::Form::Json);
           },
           "How the page's console is printed; default: text")
        ->type_name("text|json");
    app.add_flag(
        "--panel", options.panel,
        "Show the desk's panel beside the first application: the account and switches for it, "
        "privileges, messages, the log; F9 shows and hides it");
    app.add_option(
           "--window-pictures", options.windowPictures,
           "Write each of the account's windows to this folder as PNG when something is pressed "
           "in it")
        ->type_name("DIR");
    std::string devtools;
    app.add_flag(
        "--devtools{9222}", devtools,
        "Let DevTools attach to this port of the loopback interface, 9222 by default, 0 for any: "
        "open "
        "the address that is printed in Chromium, or connect puppeteer. Whoever can reach the port "
        "can do what the page can. The console is then as the engine has it: [object Object] for "
        "an "
        "object, errors without stacks, and no resources that failed to load, which --strict "
        "forgives");
    app.add_option("--screenshot", options.screenshot,
                   "Write the window as PNG just before quitting, or one second after loading when "
                   "the browser stays")
        ->type_name("FILE");
    app.add_option_function<std::string>(
           "--size", [&options](const std::string& text) { readSize(text, options); },
           "Size of a window; default: 1280x800")
        ->type_name("WIDTHxHEIGHT");

    app.add_option("--profile", options.profile,
                   "Keep cookies and storage in this folder; default: nothing is kept")
        ->type_name("DIR");
    app.add_option(
           "--port", options.port,
           "Serve FOLDER as http://localhost:PORT; default: http://NAME.localhost, where NAME "
           "is the same on every run")
        ->type_name("PORT")
        ->check(CLI::Range(1, 65535));

    if (const auto end = embedder::parseCommandLine(app, argc, argv)) return *end;
    options.common = common.read();
#ifdef SSO_SERVICE
    if (options.common.account.empty() && options.common.state.empty()) {
        options.common.state = "default";
    }
#endif
    if (options.targets.size() > 1 && !options.common.manifest.empty()) {
        throw embedder::InputError("--manifest goes with one target only");
    }
    if (!devtools.empty()) options.devtools = readPort("--devtools", devtools);
    const auto standardInput =
        std::count(options.scripts.begin(), options.scripts.end(), std::filesystem::path("-"));
    if (standardInput > 1) throw embedder::InputError("--run-script - can be given once only");
    if (options.targets.size() > 1 && options.port != 0) {
        throw embedder::InputError("--port goes with one target only");
    }
    return options;
}

}  // namespace browser
