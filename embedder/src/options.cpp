#include "embedder/options.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>

#include "account/account_file.h"
#include "embedder/application_manifest.h"
#include "embedder/environment.h"
#ifdef SSO_SERVICE
#include "service/state_name.h"
#endif

namespace embedder {

namespace {

void checkState(const std::string& name) {
#ifdef SSO_SERVICE
    if (!service::isStateName(name)) {
        throw InputError("--state " + name + ": its name " + service::kStateNameRule);
    }
#else
    throw InputError("--state " + name +
                     " cannot be used: this program was built without the account service");
#endif
}

}  // namespace

CommonOptions::CommonOptions(CLI::App& app, const std::string& manifest) {
    m_options.module =
        (programFolder() / SSO_LIBRARY_FOLDER "/libsso.so").lexically_normal().string();
    app.add_option("--module", m_options.module,
                   "The plug-in; default: " SSO_LIBRARY_FOLDER
                   "/libsso.so, from this program's folder")
        ->type_name("PATH");
    app.add_option(
           "--grant", m_grants,
           "Privileges to grant: sso.partner, sso.platform, sso.public, also without sso., or "
           "full identifiers (URLs); several with commas, or the option again")
        ->type_name("NAME,...")
        ->delimiter(',')
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--manifest", m_options.manifest, manifest)->type_name("FILE");
    CLI::Option* account =
        app.add_option("--account", m_options.account,
                       "Let the account of this file be on the device, which stays as it is");
    account->type_name("FILE");
    app.add_option("--state", m_options.state,
                   "Let the accounts of the account service's state of this name be on the device")
        ->type_name("NAME")
        ->excludes(account);
    CLI::Option* messages = app.add_option(
        "--messages", m_options.messages,
        "Write each request to the plug-in and each answer, as JSON lines; - is stdout");
    messages->type_name("FILE|-");
    app.add_flag("--pseudonyms", m_options.pseudonyms,
                 "Put pseudonyms for all that tells of a user into the file of --messages")
        ->needs(messages);
    app.set_version_flag("--version", app.get_name() + " " SSO_VERSION,
                         "Print the version and exit");
    app.add_flag("--log", m_options.log, "Show the plug-in's log on standard error");
}

Options CommonOptions::read() const {
    Options options = m_options;
    for (const std::string& name : m_grants) options.grants.insert(privilegeIdentifier(name));
    if (!options.state.empty()) checkState(options.state);
    if (options.pseudonyms && options.messages == "-") {
        throw InputError("--pseudonyms needs a file: standard output has more than the messages");
    }
    if (options.account.empty()) return options;
    try {
        account::readAccountFile(options.account);
    } catch (const account::AccountFileError& error) {
        throw InputError(error.what());
    }
    // The one who reads it may have another working folder.
    options.account = std::filesystem::absolute(options.account).string();
    return options;
}

std::optional<int> parseCommandLine(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::Success& told) {
        return app.exit(told);
    } catch (const CLI::ParseError& error) {
        std::cerr << app.get_name() << ": " << error.what() << "; --help tells more\n";
        return kExitBadInput;
    }
}

}  // namespace embedder
