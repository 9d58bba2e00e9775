# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# find_package(zormidi) from the unpacked zip, for MinGW and MSVC, of the width of the build.
if(TARGET zormidi::zormidi)
  return()
endif()
get_filename_component(zormidi_top "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(zormidi_width "${zormidi_top}/x86")
else()
  set(zormidi_width "${zormidi_top}/x64")
endif()
foreach(zormidi_name zormidi zorhearing)
  string(TOUPPER ${zormidi_name} zormidi_file)
  if(MSVC)
    set(zormidi_import "${zormidi_width}/${zormidi_file}.lib")
  else()
    set(zormidi_import "${zormidi_width}/lib${zormidi_file}.dll.a")
  endif()
  add_library(zormidi::${zormidi_name} SHARED IMPORTED)
  set_target_properties(zormidi::${zormidi_name} PROPERTIES
    IMPORTED_LOCATION "${zormidi_width}/${zormidi_file}.DLL" IMPORTED_IMPLIB "${zormidi_import}"
    INTERFACE_INCLUDE_DIRECTORIES "${zormidi_top}/include")
endforeach()
