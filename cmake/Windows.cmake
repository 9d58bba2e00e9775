# What every file made for Windows has. The same sources give the same bytes wherever they lie, also
# where a compiler cache makes their paths relative to the build.
enable_language(RC)
add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>"
  "$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=.>"
  "$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=../../=>")
add_link_options(-static -Wl,--no-insert-timestamp)

file(STRINGS ${PROJECT_SOURCE_DIR}/LICENSE ZOR_COPYRIGHT REGEX "^Copyright")

# zor_version_info(target VFT_DLL or VFT_APP, file's name, description)
function(zor_version_info target fileType fileName description)
  configure_file(${PROJECT_SOURCE_DIR}/resources/version.rc.in ${target}_version.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
endfunction()
