# The suppliers' libraries of a device's SDK, under the names that the stand-ins have otherwise. An SDK
# that has a CMake package or a toolchain file may define the targets SSO::pepper, SSO::pepper_runtime,
# SSO::sso_api, SSO::vconf, SSO::dlog and SSO::ht itself. What it does not define is found with pkg-config: set
# PKG_CONFIG_PATH and PKG_CONFIG_SYSROOT_DIR as the SDK says.

include(CheckCXXSourceCompiles)

foreach(supplier pepper pepper_runtime sso_api vconf dlog ht)
  string(REPLACE "_" "-" package ${supplier})
  string(TOUPPER ${supplier} name)
  set(SSO_PACKAGE_${name} ${package} CACHE STRING "pkg-config package of the device's ${package}")
  if(TARGET SSO::${supplier})
    continue()
  endif()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(${supplier} IMPORTED_TARGET ${SSO_PACKAGE_${name}})
  if(NOT ${supplier}_FOUND)
    message(FATAL_ERROR "The device's ${package} is not found: pkg-config knows no package "
      "\"${SSO_PACKAGE_${name}}\". Set PKG_CONFIG_PATH to the SDK's, or SSO_PACKAGE_${name} to its name there, "
      "or define the target SSO::${supplier}.")
  endif()
  add_library(SSO::${supplier} ALIAS PkgConfig::${supplier})
endforeach()

# Headers that an SDK may have under other names. The plug-in includes each by one name; a header of that
# name which includes the SDK's is made where it differs.
set(names ${CMAKE_BINARY_DIR}/sdk-names)
foreach(header
    runtime/pp_base_message_handler.h
    runtime/simple_thread_await_loop.h
    runtime/ppb_extension_system_korvane.h
    sso_api.h vconf.h dlog.h ht.h)
  string(MAKE_C_IDENTIFIER ${header} variable)
  string(TOUPPER SSO_HEADER_${variable} variable)
  set(${variable} ${header} CACHE STRING "Name of the SDK's ${header}")
  if(NOT ${variable} STREQUAL header)
    file(CONFIGURE OUTPUT ${names}/${header} CONTENT "#include <${${variable}}>\n")
  else()
    file(REMOVE ${names}/${header})
  endif()
endforeach()
include_directories(BEFORE ${names})

# sso_device_has(<variable> <code>): whether the SDK's tracing header, together with what it
# includes, has something that the plug-in brings otherwise.
function(sso_device_has variable code)
  set(CMAKE_REQUIRED_INCLUDES ${names})
  get_target_property(target SSO::ht ALIASED_TARGET)  # the check does not see aliases
  if(NOT target)
    set(target SSO::ht)
  endif()
  set(CMAKE_REQUIRED_LIBRARIES ${target})
  set(CMAKE_REQUIRED_FLAGS -std=c++17)
  set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
  check_cxx_source_compiles("#include \"ht.h\"\n${code}" ${variable})
  if(${variable})
    add_compile_definitions(${variable})
  endif()
endfunction()
sso_device_has(SSO_HT_HAS_REGISTRATION "int* cell() { return HtLibEnabled(); }")
sso_device_has(SSO_HT_HAS_LOCATION "unsigned long size() { return sizeof(TSCodeLocation); }")
