# What every target of the tree is built with.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
# Libraries and programs find the libraries beside them, built or installed: a tree can be moved,
# and no path of the building machine gets into a binary.
set(CMAKE_INSTALL_LIBDIR lib)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib")

find_program(SSO_CCACHE ccache)
if(SSO_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${SSO_CCACHE})
endif()

add_library(sso_build_settings INTERFACE)
add_library(SSO::build_settings ALIAS sso_build_settings)
target_compile_options(sso_build_settings INTERFACE
  -Wall -Wextra -Wpedantic
  -Wconversion  # a length must not shrink on its way into the C ABI
  -Werror
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=  # assertions name files as the tree does
  # What ships carries no path of the building machine, not even in its debug data.
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=>
)
if(SSO_SANITIZE)
  target_compile_options(sso_build_settings INTERFACE
    -fsanitize=${SSO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(sso_build_settings INTERFACE -fsanitize=${SSO_SANITIZE})
endif()
if(SSO_COVERAGE)
  target_compile_options(sso_build_settings INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(sso_build_settings INTERFACE --coverage)
endif()

# What ships is hardened; a sanitizer or a counter run-time brings its own interposition.
add_library(sso_hardening INTERFACE)
add_library(SSO::hardening ALIAS sso_hardening)
target_link_options(sso_hardening INTERFACE
  -Wl,--enable-new-dtags  # RUNPATH: LD_LIBRARY_PATH can put another supplier's library in front
  -Wl,-z,relro,-z,now,-z,noexecstack)
if(NOT SSO_SANITIZE)
  target_compile_options(sso_hardening INTERFACE -fstack-protector-strong)
  if(NOT SSO_COVERAGE)  # the optimiser moves and merges branches
    target_compile_options(sso_hardening INTERFACE
      $<$<CONFIG:Debug>:-Og>  # _FORTIFY_SOURCE works on optimised code only
      -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  endif()
  target_link_options(sso_hardening INTERFACE -Wl,-z,defs)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-fcf-protection=full SSO_HAS_CET)
  if(SSO_HAS_CET)
    target_compile_options(sso_hardening INTERFACE -fcf-protection=full)
  endif()
endif()
