set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(SSO_TRIPLET arm-linux-gnueabihf)
set(SSO_EMULATOR qemu-arm)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)  # notes on what changed with g++ 7
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
