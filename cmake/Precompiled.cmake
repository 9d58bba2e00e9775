# zor_precompile(target ...), as target_precompile_headers: compiles once what most files of the target
# include. Not with ccache, whose preprocessor runs away on it (gigabytes of memory): such a build finds
# a file that lacks an include.
function(zor_precompile target)
  if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    target_precompile_headers(${target} ${ARGN})
  endif()
endfunction()
