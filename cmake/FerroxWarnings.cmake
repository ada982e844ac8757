# Warnings are set per target, never globally, so third-party code is not held to them.
function(ferrox_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
  if(FERROX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
