# Compiler settings shared by every target of the project, applied per target
# so that nothing leaks into consumers.
function(zel_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(ZEL_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
