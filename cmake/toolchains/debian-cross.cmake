# Debian's cross compiler for SSO_TRIPLET; a toolchain file of this folder includes it. The headers of
# Boost, nlohmann-json and CLI11 are the same for all architectures, and the compiler finds them.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${SSO_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${SSO_TRIPLET})
set(CMAKE_FIND_ROOT_PATH /usr/${SSO_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
