// supplier-load FILE: loads a shared library by itself, and says why when it cannot be.

#include <dlfcn.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: supplier-load FILE\n");
        return 2;
    }
    if (dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) == nullptr) {
        std::printf("%s\n", dlerror());
        return 1;
    }
    return 0;
}
