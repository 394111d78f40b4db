# Compiler settings shared by every target of the project, applied per target
# so that nothing leaks into consumers.
#   zel_target_defaults(<target> [STRICT])
# STRICT, for the library itself, adds the warnings that catch the faults
# that matter on the device: -Wpedantic (extensions another compiler lacks),
# -Wshadow (a name hiding another, as in the converters' many locals) and
# -Wconversion (implicit narrowing, where unsigned long is 32 bits on armhf
# and 64 here). The tool, the tests and the platform stand-ins keep
# -Wall -Wextra: they read and compare values of the platform's mixed widths
# on purpose, and narrowing casts there would be noise, not safety.
function(zel_target_defaults target)
  cmake_parse_arguments(ARG "STRICT" "" "" ${ARGN})
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(ARG_STRICT)
    target_compile_options(${target} PRIVATE -Wpedantic -Wshadow -Wconversion)
  endif()
  if(ZEL_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
