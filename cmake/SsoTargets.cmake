# How the tree's targets are made.

# sso_exports_map(<target> [<file>]): the shared object exports what the map (exports.map) names.
function(sso_exports_map target)
  set(map ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
  if(ARGC GREATER 1)
    cmake_path(ABSOLUTE_PATH ARGV1 OUTPUT_VARIABLE map)
  endif()
  target_link_options(${target} PRIVATE -Wl,--version-script=${map})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()

# sso_public_headers(<target> <folder>): the folder is in the include path of whoever links to the
# target, and each header in it has to compile alone: all_verify_interface_header_sets builds them.
function(sso_public_headers target folder)
  get_target_property(type ${target} TYPE)
  set(scope PUBLIC)
  if(type STREQUAL "INTERFACE_LIBRARY")
    set(scope INTERFACE)
  endif()
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.h)
  target_sources(${target} ${scope} FILE_SET HEADERS BASE_DIRS ${folder} FILES ${headers})
  set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
endfunction()

# sso_install_sdk(<target> [REQUIRES <packages>]): installs a stand-in as a device's SDK would come:
# headers, library and pkg-config file, but none of the control headers. Component "sdk", which has to
# be asked for by name: else an installation would put stand-ins beside a device's own libraries.
function(sso_install_sdk target)
  cmake_parse_arguments(arg "" "" "REQUIRES" ${ARGN})
  install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/include/ DESTINATION include COMPONENT sdk
    EXCLUDE_FROM_ALL)
  install(TARGETS ${target}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sdk EXCLUDE_FROM_ALL
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sdk EXCLUDE_FROM_ALL)
  string(REPLACE _ - package ${target})
  set(SDK_NAME ${package})
  set(SDK_LIBS ${target})
  list(JOIN arg_REQUIRES " " SDK_REQUIRES)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/sdk.pc.in ${package}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT sdk EXCLUDE_FROM_ALL)
endfunction()

# sso_stand_in_library(<name> <sources>): makes lib<name>.so of a folder of platform/, exporting what
# its map names, behind the soname that a device has too, and installs it as one has it. Besides,
# SSO::<name>_control is for those who drive the stand-in, as opposed to those who use the service.
function(sso_stand_in_library name)
  add_library(${name} SHARED ${ARGN})
  add_library(SSO::${name} ALIAS ${name})
  # The map alone decides: the headers are plain C, as a device's are.
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET default)
  sso_exports_map(${name})
  sso_public_headers(${name} include)
  target_include_directories(${name} PRIVATE control)
  target_link_libraries(${name} PRIVATE SSO::build_settings SSO::hardening)

  add_library(${name}_control INTERFACE)
  add_library(SSO::${name}_control ALIAS ${name}_control)
  sso_public_headers(${name}_control control)
  target_link_libraries(${name}_control INTERFACE SSO::${name})

  sso_install_sdk(${name})
endfunction()
