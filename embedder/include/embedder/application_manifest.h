#ifndef EMBEDDER_APPLICATION_MANIFEST_H_
#define EMBEDDER_APPLICATION_MANIFEST_H_

#include <set>
#include <string>
#include <string_view>

#include "embedder/input_error.h"

namespace embedder {

/// What a web application declares about itself: one JSON object, in a file named "manifest.json"
/// beside its start page. All keys are required, and there are no others.
///
///   { "name": "Demo", "start": "index.html", "privileges": ["sso.partner", "sso.platform"] }
struct ApplicationManifest {
    std::string name;                  ///< not empty
    std::string start;                 ///< a relative path that stays inside the folder
    std::set<std::string> privileges;  ///< full identifiers, see privilegeIdentifier()
};

/// A manifest or a privilege that cannot be used. what() names file, place and key.
class ManifestError : public InputError {
  public:
    using InputError::InputError;
};

/// @throws ManifestError  when the file is missing, is no JSON, or breaks a rule above.
ApplicationManifest readManifest(const std::string& path);

/// @param json  the content of a manifest.
/// @param name  what to call it in an error.
/// @throws ManifestError  when it is no JSON, or breaks a rule above.
ApplicationManifest parseManifest(std::string_view json, const std::string& name);

/// The full identifier of a privilege: "partner" and "sso.partner" become the URL with the path
/// "/privilege/sso.partner" below the configured origin (likewise platform and public); text with
/// "://" is taken as it is.
///
/// @throws ManifestError  for any other text.
std::string privilegeIdentifier(const std::string& name);

}  // namespace embedder

#endif
