# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# Settings of every target for Windows. A build is reproducible: the same sources give the same bytes
# in any folder, also where a compiler cache makes their paths relative to the build.
enable_language(RC)
target_compile_options(zor_options INTERFACE
  "$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>"
  "$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=.>"
  "$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=../../=>")
target_link_options(zor_options INTERFACE -static -Wl,--no-insert-timestamp)

file(STRINGS ${PROJECT_SOURCE_DIR}/LICENSE ZOR_COPYRIGHT REGEX "^Copyright")

# zor_version_info(target fileType fileName description): adds a version resource. fileType is VFT_DLL
# or VFT_APP.
function(zor_version_info target fileType fileName description)
  configure_file(${PROJECT_SOURCE_DIR}/resources/version.rc.in ${target}_version.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
endfunction()
