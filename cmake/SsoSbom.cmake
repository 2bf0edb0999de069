# The plug-in's bill of materials, in SPDX 2.3: `sbom` writes libsso.spdx.json of the built module into the
# build tree, and an installation that of the module as it was installed, which may have been stripped.

if(NOT CMAKE_READELF)
  message(WARNING "There is no readelf: the bill of materials is left out.")
  return()
endif()
find_package(Boost REQUIRED)

set(SSO_SBOM_SUPPLIERS pepper pepper-runtime sso-api vconf dlog ht)
set(SSO_SBOM_VERSIONS "")  # in the same order, "?" where nobody says
foreach(package IN LISTS SSO_SBOM_SUPPLIERS)
  string(REPLACE - _ supplier ${package})
  if(SSO_PLATFORM STREQUAL "standin")
    list(APPEND SSO_SBOM_VERSIONS ${PROJECT_VERSION})
  elseif(${supplier}_VERSION)
    list(APPEND SSO_SBOM_VERSIONS ${${supplier}_VERSION})
  else()
    list(APPEND SSO_SBOM_VERSIONS "?")
  endif()
endforeach()

file(GLOB_RECURSE SSO_SBOM_SOURCES CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
  ${PROJECT_SOURCE_DIR}/src/*.cpp ${PROJECT_SOURCE_DIR}/src/*.h ${PROJECT_SOURCE_DIR}/src/*.map
  ${PROJECT_SOURCE_DIR}/extension/*.h ${PROJECT_SOURCE_DIR}/trace/*.h)
list(SORT SSO_SBOM_SOURCES)

set(SSO_SBOM_SCRIPT ${PROJECT_BINARY_DIR}/write_sbom.cmake)
configure_file(${PROJECT_SOURCE_DIR}/cmake/write_sbom.cmake.in ${SSO_SBOM_SCRIPT} @ONLY)

set(SSO_SBOM ${PROJECT_BINARY_DIR}/libsso.spdx.json)
list(TRANSFORM SSO_SBOM_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE sources)
add_custom_command(OUTPUT ${SSO_SBOM}
  COMMAND ${CMAKE_COMMAND} -DMODULE=$<TARGET_FILE:sso> -DOUTPUT=${SSO_SBOM} -P ${SSO_SBOM_SCRIPT}
  DEPENDS sso ${sources} ${SSO_SBOM_SCRIPT}
  VERBATIM)
add_custom_target(sbom DEPENDS ${SSO_SBOM})

# Behind the rule that installs the module, so that the module is there, stripped or not.
set(SSO_SBOM_FOLDER ${CMAKE_INSTALL_DATADIR}/sso-plugin)
install(CODE "
  set(module \"${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:sso>\")
  set(sbom \"${SSO_SBOM_FOLDER}/libsso.spdx.json\")
  cmake_path(ABSOLUTE_PATH module BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
  cmake_path(ABSOLUTE_PATH sbom BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
  message(STATUS \"Installing: \$ENV{DESTDIR}\${sbom}\")
  execute_process(COMMAND \"${CMAKE_COMMAND}\" \"-DMODULE=\$ENV{DESTDIR}\${module}\"
    \"-DOUTPUT=\$ENV{DESTDIR}\${sbom}\" -P \"${SSO_SBOM_SCRIPT}\" COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${sbom}\")
  " COMPONENT plugin)
