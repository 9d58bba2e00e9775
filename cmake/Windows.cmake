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

# zor_dll(target name description): the target is NAME.DLL in the build folder, with the functions of
# target.def by their plain names, and has import libraries beside it.
function(zor_dll target name description)
  target_sources(${target} PRIVATE ${ZOR_EXPORT_FOLDER}/${target}.def)
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${name} SUFFIX ".DLL"
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR} ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  target_link_options(${target} PRIVATE -Wl,--kill-at -Wl,--enable-stdcall-fixup)
  zor_version_info(${target} VFT_DLL ${name}.DLL "${description}")
  add_custom_command(TARGET ${target} POST_BUILD VERBATIM
    BYPRODUCTS ${PROJECT_BINARY_DIR}/${name}.def ${PROJECT_BINARY_DIR}/lib${name}-delayed.a
    COMMAND ${CMAKE_COMMAND} -DDLL=$<TARGET_FILE:${target}> -DDEF=${ZOR_EXPORT_FOLDER}/${target}.def
      -DNM=${CMAKE_NM} -DDLLTOOL=${CMAKE_DLLTOOL} -DFOLDER=${PROJECT_BINARY_DIR} -DNAME=${name}
      -P ${PROJECT_SOURCE_DIR}/cmake/ImportLibraries.cmake)
endfunction()
