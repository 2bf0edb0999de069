# Installs the stand-ins as a device's SDK would come: headers, libraries and pkg-config files, but
# none of the control headers. Component "sdk".

# sso_install_sdk(<package> <target> <libs> <requires>)
function(sso_install_sdk package target libs requires)
  install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/include/ DESTINATION include COMPONENT sdk)
  install(TARGETS ${target}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sdk
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sdk)
  set(SDK_NAME ${package})
  set(SDK_LIBS ${libs})
  set(SDK_REQUIRES ${requires})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/sdk.pc.in ${package}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT sdk)
endfunction()
