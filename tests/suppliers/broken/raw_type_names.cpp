// The demangler gives the name back as it is.

#include <ht.h>

std::string ht::TSDemangler::Demangle(const char* typeName) { return typeName; }
