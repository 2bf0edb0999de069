set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(SSO_TRIPLET aarch64-linux-gnu)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
