# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# zor_options: the compile and link options of every target of this project.
add_library(zor_options INTERFACE)
target_include_directories(zor_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(zor_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wundef -Wimplicit-fallthrough -Wnull-dereference
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # False positives inside std::string at -O3.
  target_compile_options(zor_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CONFIG:Release>>:-Wno-array-bounds;-Wno-stringop-overflow;-Wno-stringop-overread>)
endif()
if(ZOR_WERROR)
  target_compile_options(zor_options INTERFACE -Werror)
endif()
if(WIN32)
  # The system's headers violate these, and its callbacks are cast to their documented types.
  target_compile_options(zor_options INTERFACE -Wno-pedantic $<$<COMPILE_LANGUAGE:CXX>:-Wno-old-style-cast> -Wno-cast-function-type
    -Wno-undef -Wno-attributes)
endif()
if(ZOR_SANITIZE)
  # Any report ends the program, so that the run fails.
  target_compile_options(zor_options INTERFACE
    -fsanitize=${ZOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  target_link_options(zor_options INTERFACE -fsanitize=${ZOR_SANITIZE})
else()
  # Not with sanitizers, whose symbols are defined in the program and not in a shared library.
  set(ZOR_NO_UNDEFINED -Wl,--no-undefined)
endif()

# zor_subsystem(name sources...): an object library of the product. It links zor_options only and gets no
# include folder but the project's.
function(zor_subsystem name)
  add_library(zor_${name} OBJECT ${ARGN})
  target_link_libraries(zor_${name} PUBLIC zor_options)
  if(name STREQUAL "support")
    zor_precompile(zor_support PRIVATE <algorithm> <atomic> <cmath> <cstdint> <functional> <memory> <mutex> <string>
      <thread> <utility> <vector> ${PROJECT_SOURCE_DIR}/platform/platform.h)
  elseif(NOT name STREQUAL "pitchrec") # its flags differ
    zor_precompile(zor_${name} REUSE_FROM zor_support)
  endif()
endfunction()
