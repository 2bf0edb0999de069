#include "src/options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <stdexcept>

#include "src/start_error.h"

namespace browser {
namespace {

constexpr int kLargestSide = 16384;
constexpr double kLongestWait = 1e6;  // seconds; still fits the milliseconds of a timer

constexpr const char* kFooter = R"(
FOLDER holds an application: its pages and a manifest.json such as
  { "name": "Demo", "start": "index.html", "privileges": ["sso.partner"] }

The page's console goes to stdout, one line per message; a result of --run-script too, as
"result: JSON". Without a display the browser runs on a virtual one (Xvfb) that it starts itself.

Exit codes: 0 done; 1 the page, its script or the display failed; 2 wrong command line or file;
128 + N ended by signal N.

Examples:
  sso-browser web/demo
  sso-browser web/demo --account account/examples/signed-in.json --log
  sso-browser http://localhost:8000/ --grant partner --grant platform
  sso-browser web/demo --run-script steps.js --screenshot end.png --quit-after 0.5
)";

double readSeconds(const std::string& text) {
    double seconds = 0;
    // Written so that "nan", which is a number to the conversion, is refused too.
    if (!CLI::detail::lexical_cast(text, seconds) || !(seconds >= 0 && seconds <= kLongestWait)) {
        throw CLI::ValidationError("--quit-after", "must be a number of seconds, like 0.5");
    }
    return seconds;
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

std::filesystem::path programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::variant<Options, int> parseOptions(int argc, const char* const* argv) {
    Options options;
    options.module = (programFolder() / "../lib/libsso.so").lexically_normal();
    std::string size = "1280x800";
    std::string quitAfter;

    CLI::App app{"Opens a web application in a browser that carries the SSO plug-in."};
    app.name("sso-browser");
    app.footer(kFooter);
    app.add_option("target", options.target, "A URL, or the folder of an application")
        ->type_name("URL|FOLDER")
        ->required();
    app.add_option("--module", options.module,
                   "The plug-in; default: ../lib/libsso.so beside this program")
        ->type_name("PATH");
    app.add_option("--grant", options.grants,
                   "A privilege to grant: partner, platform, public or a full identifier; may be "
                   "given more than once")
        ->type_name("NAME")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--manifest", options.manifest,
                   "Read this manifest; default: manifest.json in FOLDER, none for a URL")
        ->type_name("FILE");
    app.add_option("--account", options.account, "Let this account be on the device; default: none")
        ->type_name("FILE");
    app.add_flag("--log", options.log, "Show the plug-in's log on stderr");
    app.add_option("--screenshot", options.screenshot,
                   "Write the window as PNG just before quitting, or one second after loading when "
                   "the browser stays")
        ->type_name("FILE");
    app.add_option("--quit-after", quitAfter,
                   "Quit this long after loading, or after the end of the script; default: stay")
        ->type_name("SECONDS");
    app.add_option("--run-script", options.script,
                   "Run this JavaScript in the loaded page, as the body of an async function, and "
                   "print what it returns; quit at once when it throws")
        ->type_name("FILE");
    app.add_option("--size", size, "Size of the window; default: 1280x800")
        ->type_name("WIDTHxHEIGHT");

    try {
        app.parse(argc, argv);
        readSize(size, options);
        if (!quitAfter.empty()) options.quitAfter = readSeconds(quitAfter);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::cerr << "sso-browser: " << error.what() << "; --help tells more\n";
        return kExitBadInput;
    }
    return options;
}

}  // namespace browser
