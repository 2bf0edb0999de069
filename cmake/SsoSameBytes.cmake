# A device build has the same bytes, and so the same build id, from any source, build and SDK folder:
# its debug data names files below "sdk" and below the top of this tree. Of several maps that fit, the
# last one holds.

string(REGEX REPLACE "([][+.*()^$?|\\\\])" "\\\\\\1" own "${CMAKE_SOURCE_DIR}/")
set(sdk "$<TARGET_PROPERTY:INCLUDE_DIRECTORIES>")
set(sdk "$<FILTER:${sdk},EXCLUDE,^(${own}(extension|src|trace)|/usr/include)(/|$)>")
target_compile_options(sso_build_settings INTERFACE
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=
  -ffile-prefix-map=${CMAKE_BINARY_DIR}=.
  $<$<CXX_COMPILER_ID:Clang>:-ffile-compilation-dir=.>
  "-ffile-prefix-map=$<JOIN:${sdk},=sdk;-ffile-prefix-map=>=sdk")
# The compiler may name a folder without the links and the "/.." in it.
foreach(supplier pepper pepper_runtime sso_api vconf dlog ht)
  get_target_property(folders SSO::${supplier} INTERFACE_INCLUDE_DIRECTORIES)
  foreach(folder IN LISTS folders)
    if(IS_DIRECTORY "${folder}")
      file(REAL_PATH "${folder}" folder)
      target_compile_options(sso_build_settings INTERFACE "-ffile-prefix-map=${folder}=sdk")
    endif()
  endforeach()
endforeach()
if(CMAKE_SYSROOT)
  target_compile_options(sso_build_settings INTERFACE -ffile-prefix-map=${CMAKE_SYSROOT}=)
endif()
