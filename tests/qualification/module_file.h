#ifndef QUALIFICATION_MODULE_FILE_H_
#define QUALIFICATION_MODULE_FILE_H_

#include <set>
#include <string>
#include <vector>

namespace qualification {

/// What the bytes of a module tell without running any of it.
struct ModuleFile {
    std::string architecture;         ///< "x86-64, 64 bits"
    std::string buildId;              ///< in hexadecimal; "" when it has none
    std::string compiler;             ///< what the compilers wrote into it; "" when it is cut out
    std::vector<std::string> needed;  ///< sonames of the libraries it needs
    std::set<std::string> functions;  ///< that it exports
    std::set<std::string> origins;    ///< of the privilege identifiers in it
    bool stripped = false;            ///< of its symbol table
};

/// @throws Refusal  when it is no shared object.
ModuleFile readModuleFile(const std::string& path);

/// @throws Refusal  when the file is for another machine than this program, or lacks entry points.
void checkModuleFile(const ModuleFile& file);

}  // namespace qualification

#endif
