# A Debian package of the plug-in alone, made by `cpack` in the build folder of a device build that
# knows its maintainer.

set(SSO_PACKAGE_MAINTAINER "" CACHE STRING
  "Who answers for the Debian package, as \"Name <address>\"; empty for no package")
if(NOT SSO_PACKAGE_MAINTAINER)
  return()
endif()

# Only the package installs them.
set(documents ${CMAKE_CURRENT_BINARY_DIR}/packaging)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH, if that is set
configure_file(packaging/changelog.in ${documents}/changelog @ONLY)
execute_process(COMMAND gzip -9nfk ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)
install(FILES packaging/copyright ${documents}/changelog.gz DESTINATION share/doc/sso-plugin
  COMPONENT package EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL plugin package)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_NAME sso-plugin)
set(CPACK_PACKAGE_CONTACT "${SSO_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Pages embed the type application/x-sso-plugin and exchange \
messages with it:
login, create-account and terms pages, access tokens, mappings to a partner's
accounts, and the account's state.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION web)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The suppliers' libraries are found in the SDK, but no package of this machine has them: name those
# of the device in CPACK_DEBIAN_PACKAGE_DEPENDS.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(CMAKE_CROSSCOMPILING)  # nor has it packages of another architecture: name all
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
endif()
foreach(supplier sso_api vconf dlog ht)
  get_target_property(libraries SSO::${supplier} INTERFACE_LINK_LIBRARIES)
  foreach(library IN LISTS libraries)
    cmake_path(GET library PARENT_PATH folder)
    if(IS_ABSOLUTE "${folder}")
      list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${folder})
    endif()
  endforeach()
endforeach()
list(REMOVE_DUPLICATES CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS)
include(CPack)
