# Debian's cross compiler for SSO_TRIPLET, and SSO_EMULATOR of the package qemu-user for what it builds; a
# toolchain file of this folder includes it. The headers of Boost, nlohmann-json and CLI11 are the same
# for all architectures, and the compiler finds them.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${SSO_TRIPLET}-gcc)  # GoogleTest's build asks for one
set(CMAKE_CXX_COMPILER ${SSO_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${SSO_TRIPLET})
set(CMAKE_FIND_ROOT_PATH /usr/${SSO_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# This machine may have libraries of that architecture as well, and the emulated linker would take them. They
# do not go with it: the first thread's start may loop for ever.
set(CMAKE_CROSSCOMPILING_EMULATOR ${SSO_EMULATOR}
  -L /usr/${SSO_TRIPLET} -E LD_LIBRARY_PATH=/usr/${SSO_TRIPLET}/lib)
