# What every target of the tree is built with. What is set from outside stays: each setting here is a
# default, and a setting that cannot work is refused with its reason.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel"
    FORCE)
endif()

# All flags from outside, those of the build type too.
string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
set(SSO_OUTSIDE_FLAGS "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${type}}")

if(NOT CMAKE_CXX_STANDARD AND NOT SSO_OUTSIDE_FLAGS MATCHES "-std=")
  set(CMAKE_CXX_STANDARD 17)
endif()
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
include(SsoLanguage)

# The device's libraries lie where its system looks for them: the plug-in names no folder. The
# stand-ins lie beside the programs, built or installed: a tree can be moved, and no path of the
# building machine gets into a binary.
set(CMAKE_INSTALL_LIBDIR lib CACHE STRING "Folder of libraries below the prefix")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
if(SSO_PLATFORM STREQUAL "standin")
  if(CMAKE_INSTALL_LIBDIR MATCHES "/")
    message(FATAL_ERROR "CMAKE_INSTALL_LIBDIR is \"${CMAKE_INSTALL_LIBDIR}\"; it must be one name: "
      "the programs look for their libraries in a folder beside their own")
  endif()
  if(SSO_TESTS AND NOT CMAKE_INSTALL_LIBDIR STREQUAL "lib")
    message(FATAL_ERROR "CMAKE_INSTALL_LIBDIR is \"${CMAKE_INSTALL_LIBDIR}\"; the tests look for "
      "libraries in lib: set SSO_TESTS=OFF, too")
  endif()
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
  if(NOT DEFINED CMAKE_INSTALL_RPATH)
    set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
endif()

find_program(SSO_CCACHE ccache)
if(SSO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${SSO_CCACHE})
endif()

add_library(sso_build_settings INTERFACE)
add_library(SSO::build_settings ALIAS sso_build_settings)
target_compile_options(sso_build_settings INTERFACE
  -Wall -Wextra -Wpedantic
  -Wconversion  # a length must not shrink on its way into the C ABI
  $<$<BOOL:${SSO_WERROR}>:-Werror>
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=  # assertions name files as the tree does
  # What ships carries no path of the building machine, not even in its debug data.
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=>
)
if(SSO_SANITIZE)
  target_compile_options(sso_build_settings INTERFACE
    -fsanitize=${SSO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(sso_build_settings INTERFACE -fsanitize=${SSO_SANITIZE})
endif()
if(SSO_FUZZ)  # the sanitizer above, what libFuzzer is led by, and the counters of its report
  set(fuzz -fsanitize=fuzzer-no-link -fprofile-instr-generate -fcoverage-mapping)
  target_compile_options(sso_build_settings INTERFACE ${fuzz})
  target_link_options(sso_build_settings INTERFACE ${fuzz})
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

# sso_harden(<word> <options>): unless the flags from outside speak of it.
function(sso_harden word)
  if(NOT SSO_OUTSIDE_FLAGS MATCHES "${word}")
    target_compile_options(sso_hardening INTERFACE ${ARGN})
  endif()
endfunction()

if(NOT SSO_SANITIZE)
  sso_harden(stack-protector -fstack-protector-strong)
  include(CheckCXXCompilerFlag)
  include(CheckCXXSourceCompiles)
  if(NOT SSO_COVERAGE)  # the optimiser moves and merges branches
    # Level 3 also checks sizes that are known when the program runs only.
    check_cxx_source_compiles("#include <cstddef>
      std::size_t size(const char* text) { return __builtin_dynamic_object_size(text, 0); }
      int main() {}" SSO_HAS_FORTIFY_3)
    set(level 2)
    if(SSO_HAS_FORTIFY_3)
      set(level 3)
    endif()
    # _FORTIFY_SOURCE works on optimised code only. A build type "None" leaves both to its flags.
    sso_harden(_FORTIFY_SOURCE $<$<CONFIG:Debug>:-Og>
      "$<$<NOT:$<CONFIG:None>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
  endif()
  target_link_options(sso_hardening INTERFACE -Wl,-z,defs)
  set(CMAKE_REQUIRED_FLAGS -Werror)  # one that the target has no use for is no flag of it
  check_cxx_compiler_flag(-fstack-clash-protection SSO_HAS_STACK_CLASH_PROTECTION)
  if(SSO_HAS_STACK_CLASH_PROTECTION)
    sso_harden(stack-clash-protection -fstack-clash-protection)
  endif()
  check_cxx_compiler_flag(-fcf-protection=full SSO_HAS_CET)
  if(SSO_HAS_CET)
    sso_harden(-fcf-protection -fcf-protection=full)
  endif()
  check_cxx_compiler_flag(-mbranch-protection=standard SSO_HAS_BRANCH_PROTECTION)
  if(SSO_HAS_BRANCH_PROTECTION)
    sso_harden(-mbranch-protection -mbranch-protection=standard)
  endif()
  unset(CMAKE_REQUIRED_FLAGS)
endif()
