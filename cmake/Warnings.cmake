# zor_options: what every target of ours is compiled with.
add_library(zor_options INTERFACE)
target_include_directories(zor_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(zor_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wundef -Wimplicit-fallthrough -Wnull-dereference
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Its -O3 sees overlaps and overflows in std::string that are not there.
  target_compile_options(zor_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CONFIG:Release>>:-Wno-array-bounds;-Wno-stringop-overflow;-Wno-stringop-overread>)
endif()
if(ZOR_WERROR)
  target_compile_options(zor_options INTERFACE -Werror)
endif()
if(WIN32)
  # The system's own headers meet none of these, and its callbacks are cast to their documented type.
  target_compile_options(zor_options INTERFACE -Wno-pedantic $<$<COMPILE_LANGUAGE:CXX>:-Wno-old-style-cast> -Wno-cast-function-type
    -Wno-undef -Wno-attributes)
endif()
if(ZOR_SANITIZE)
  # Whatever is reported ends the program, so that nobody who runs it can miss it.
  target_compile_options(zor_options INTERFACE
    -fsanitize=${ZOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  target_link_options(zor_options INTERFACE -fsanitize=${ZOR_SANITIZE})
else()
  # The sanitizers' own symbols come with the program, not with a shared library.
  set(ZOR_NO_UNDEFINED -Wl,--no-undefined)
endif()

# zor_subsystem(name sources...): an object library of the product. Only zor_options is linked, so
# that nothing but the platform seam can be included across.
function(zor_subsystem name)
  add_library(zor_${name} OBJECT ${ARGN})
  target_link_libraries(zor_${name} PUBLIC zor_options)
  if(name STREQUAL "support")
    zor_precompile(zor_support PRIVATE <algorithm> <atomic> <cmath> <cstdint> <functional> <memory> <mutex> <string>
      <thread> <utility> <vector> ${PROJECT_SOURCE_DIR}/platform/platform.h)
  elseif(NOT name STREQUAL "pitchrec") # whose flags are others
    zor_precompile(zor_${name} REUSE_FROM zor_support)
  endif()
endfunction()
