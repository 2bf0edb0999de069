#include <unistd.h>

#include <QApplication>
#include <QFile>
#include <QSocketNotifier>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "base/swept_folder.h"
#include "embedder/input_error.h"
#include "server/folder_server.h"
#include "src/application.h"
#include "src/child_processes.h"
#include "src/environment.h"
#include "src/exit_code.h"
#include "src/later.h"
#include "src/module_check.h"
#include "src/options.h"
#include "src/panel/panel.h"
#include "src/plugin_watch.h"
#include "src/qt_messages.h"
#include "src/runner.h"
#include "src/signal_pipe.h"
#include "src/standard_streams.h"
#include "src/xvfb.h"
#ifdef SSO_SERVICE
#include "src/account/account_windows.h"
#include "src/account/window_profile.h"
#endif

namespace {

browser::Script readScript(const std::filesystem::path& path) {
    QFile file(QString::fromStdString(path.string()));
    const bool isStandardInput = path == "-";
    const bool opened =
        isStandardInput ? file.open(stdin, QIODevice::ReadOnly)
                        : !std::filesystem::is_directory(path) && file.open(QIODevice::ReadOnly);
    if (!opened) throw embedder::InputError("the script " + path.string() + " cannot be read");
    const QString name = isStandardInput ? QStringLiteral("stdin")
                                         : QString::fromStdString(path.filename().string());
    const QByteArray body = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        throw embedder::InputError("the script " + path.string() + " cannot be read");
    }
    return {name, QString::fromUtf8(body)};
}

/// Before the page is loaded, as a mistake in a path should not cost a whole run.
void requireWritable(const std::filesystem::path& path) {
    namespace fs = std::filesystem;
    if (path.empty()) return;
    const fs::path folder = fs::absolute(path).parent_path();
    const bool writable = fs::exists(path)
                              ? fs::is_regular_file(path) && access(path.c_str(), W_OK) == 0
                              : fs::is_directory(folder) && access(folder.c_str(), W_OK) == 0;
    if (!writable) {
        throw embedder::InputError("the screenshot " + path.string() + " cannot be written");
    }
}

bool hasDisplay() {
    const auto given = [](const char* name) {
        const char* value = std::getenv(name);
        return value != nullptr && *value != '\0';
    };
    return given("DISPLAY") || given("WAYLAND_DISPLAY");
}

/// Nothing when no application has a folder.
std::unique_ptr<browser::FolderServer> serve(const std::vector<browser::Application>& applications,
                                             int port) {
    std::unique_ptr<browser::FolderServer> server;
    for (const browser::Application& application : applications) {
        if (application.folder.empty()) continue;
        try {
            if (!server) {
                server = std::make_unique<browser::FolderServer>(static_cast<std::uint16_t>(port));
            }
        } catch (const std::system_error& error) {
            throw embedder::InputError("--port " + std::to_string(port) +
                                       " cannot be used: " + error.code().message());
        }
        const QString host = application.origin.authority();
        server->add(host.toStdString(), application.folder);
    }
    return server;
}

/// Tells the engine where to let DevTools in, and the person where that is.
void openDevTools(int wanted) {
    std::uint16_t port = 0;
    try {
        // The engine takes what it is given and says nothing when that is taken.
        port = browser::FolderServer(static_cast<std::uint16_t>(wanted)).port();
    } catch (const std::system_error& error) {
        throw embedder::InputError("--devtools=" + std::to_string(wanted) +
                                   " cannot be used: " + error.code().message());
    }
    const std::string address = "127.0.0.1:" + std::to_string(port);
    setenv("QTWEBENGINE_REMOTE_DEBUGGING", address.c_str(), 1);
    std::fprintf(stderr, "sso-browser: DevTools listen on http://%s\n", address.c_str());
}

int run(const browser::Options& options) {
    const std::vector<browser::Application> applications = browser::findApplications(options);
    std::vector<browser::Script> scripts;
    for (const auto& path : options.scripts) scripts.push_back(readScript(path));
    requireWritable(options.screenshot);
    if (!options.windowPictures.empty()) {
        std::error_code error;
        std::filesystem::create_directories(options.windowPictures, error);
        if (access(options.windowPictures.c_str(), W_OK) != 0) {
            throw embedder::InputError("the pictures in " + options.windowPictures.string() +
                                       " cannot be written");
        }
    }
    browser::checkModule(options.common.module);

    const std::unique_ptr<browser::FolderServer> server = serve(applications, options.port);

    // Before the environment has a folder of this run's for the sockets of others.
    auto service = embedder::ServiceHold::get(options.common);
    const int signalPipe = browser::openSignalPipe();
    const base::SweptFolder folder("sso-browser");
    std::string agent;
#ifdef SSO_SERVICE
    const bool hasService = !service.address().empty();
    if (hasService) agent = browser::AccountLink::makeKey();
    browser::registerWindowScheme();
#endif
    browser::prepareEnvironment(options, applications, server ? server->port() : 0, folder, service,
                                agent);
    if (options.devtools) openDevTools(*options.devtools);
    const browser::ChildProcesses children;  // ends them after all that is made below is gone
    std::optional<browser::Xvfb> display;
    if (!hasDisplay()) {
        display.emplace(options.width, options.height, folder.path());
        setenv("DISPLAY", display->display().c_str(), 1);
        setenv("XAUTHORITY", display->authority().c_str(), 1);
        setenv("QT_QPA_PLATFORM", "xcb", 1);  // whatever else is preferred has no display
    }

    if (server) server->start();

    browser::installQtMessages(folder);
    // A development tool leaves nothing behind, so it does without the cache.
    QCoreApplication::setAttribute(Qt::AA_DisableShaderDiskCache);
    // Qt is told nothing by the command line, which is this program's own.
    int argumentCount = 1;
    char programName[] = "sso-browser";
    char* arguments[] = {programName, nullptr};
    const QApplication qtApplication(argumentCount, arguments);
    QApplication::setQuitOnLastWindowClosed(false);  // the runner decides how it ends
    const QSocketNotifier notifier(signalPipe, QSocketNotifier::Read);
    std::optional<int> ended;
    QObject::connect(&notifier, &QSocketNotifier::activated, [signalPipe, &ended] {
        unsigned char number = 0;
        if (read(signalPipe, &number, 1) != 1) return;
        ended = 128 + number;
        QCoreApplication::exit(*ended);
    });
    const bool isAlone = display || !options.scripts.empty();
    const browser::Dialogs dialogs =
        options.dialogs.value_or(isAlone ? browser::Dialogs::Dismiss : browser::Dialogs::Person);
    browser::PluginWatch plugin(browser::eventPipe(folder), options.common);
    browser::Runner runner(options, applications, dialogs, std::move(scripts), plugin);
    browser::PanelSetting panel;
    panel.application = applications.front().told;
    panel.account =
        QString::fromStdString(options.common.account) + QStringLiteral(", which stays as it is");
    panel.log = browser::logFile(options, folder);
#ifdef SSO_SERVICE
    std::optional<browser::AccountWindows> accountWindows;
    if (hasService) {
        accountWindows.emplace(
            service.address(), options.common.state, agent,
            [&runner] { return runner.frontPage(); }, options.windowPictures,
            [&service] {
                try {
                    service.renew();
                } catch (const std::exception&) {
                    // It is tried again.
                }
            });
        panel.runVerb = [&link = accountWindows->link()](const QStringList& words, auto done) {
            link.run(words, std::move(done));
        };
    }
#endif
    if (browser::hasPanel(options)) {
        auto shown = std::make_unique<browser::Panel>(panel);
        plugin.watchMessages([&panel = *shown](const std::string& line) { panel.onMessage(line); });
#ifdef SSO_SERVICE
        if (accountWindows) {
            accountWindows->link().watch(
                [&panel = *shown](const QString& json) { panel.onEvent(json); });
        }
#endif
        runner.firstWindow().addPanel(std::move(shown), options.panel);
    }
    // What ends the program before its event loop runs would be forgotten.
    if (ended) return *ended;
    browser::later(*qApp, 0, [&runner] { runner.start(); });
    return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
    browser::fillStandardStreams();
    try {
        const auto parsed = browser::parseOptions(argc, argv);
        if (const int* exitCode = std::get_if<int>(&parsed)) return *exitCode;
        return run(std::get<browser::Options>(parsed));
    } catch (const embedder::InputError& error) {
        std::istringstream mistakes(error.what());
        for (std::string line; std::getline(mistakes, line);) {
            std::fprintf(stderr, "sso-browser: %s\n", line.c_str());
        }
        return embedder::kExitBadInput;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sso-browser: %s\n", error.what());
        return browser::kExitFailed;
    }
}
