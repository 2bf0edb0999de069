# Refuses flags and standards that the sources cannot be compiled with, each with its reason.

set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)  # nothing to link
try_compile(SSO_LANGUAGE_SUFFICES SOURCES ${CMAKE_CURRENT_LIST_DIR}/needed_language.cpp
  OUTPUT_VARIABLE output)
unset(CMAKE_TRY_COMPILE_TARGET_TYPE)
if(NOT SSO_LANGUAGE_SUFFICES)
  string(REGEX MATCHALL "#error \"[^\"\n]*" reasons "${output}")
  list(REMOVE_DUPLICATES reasons)
  string(REPLACE "#error \"" "" reasons "${reasons}")
  list(JOIN reasons "; " reasons)
  if(NOT reasons)
    set(reasons "the compiler says: ${output}")
  endif()
  message(FATAL_ERROR "${reasons}")
endif()
