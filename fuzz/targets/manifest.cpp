// An application's manifest: who gets through is inside its folder and asks for identifiers.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "embedder/application_manifest.h"
#include "support/mistakes.h"
#include "support/require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto manifest = embedder::parseManifest(text, "file");
        fuzz::require(!manifest.name.empty(), "an application has a name");
        const std::string page =
            (std::filesystem::path("/folder") / manifest.start).lexically_normal().string();
        const std::string folder = "/folder/";
        fuzz::require(page.compare(0, folder.size(), folder) == 0 && page.size() > folder.size(),
                      "the start page is in the application's folder", page);
        for (const std::string& privilege : manifest.privileges) {
            fuzz::require(privilege.find("://") != std::string::npos,
                          "a privilege is a full identifier", privilege);
        }
    } catch (const embedder::ManifestError& mistakes) {
        fuzz::requireMistakes(mistakes.what(), "file");
    }
    return 0;
}
