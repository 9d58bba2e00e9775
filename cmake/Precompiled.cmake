# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# zor_precompile(target ...): target_precompile_headers, but not in builds with ccache, whose
# preprocessor then takes gigabytes of memory. Those builds find files that lack an include.
function(zor_precompile target)
  if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    target_precompile_headers(${target} ${ARGN})
  endif()
endfunction()
