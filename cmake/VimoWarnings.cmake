# vimo_warnings(target): the warning set of every target Vimo owns.
function(vimo_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  if(VIMO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
