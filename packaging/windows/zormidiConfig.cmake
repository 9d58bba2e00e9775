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
add_library(zormidi::zormidi SHARED IMPORTED)
set_target_properties(zormidi::zormidi PROPERTIES
  IMPORTED_LOCATION "${zormidi_width}/ZORMIDI.DLL"
  INTERFACE_INCLUDE_DIRECTORIES "${zormidi_top}/include")
if(MSVC)
  set_target_properties(zormidi::zormidi PROPERTIES IMPORTED_IMPLIB "${zormidi_width}/ZORMIDI.lib")
else()
  set_target_properties(zormidi::zormidi PROPERTIES IMPORTED_IMPLIB "${zormidi_width}/libZORMIDI.dll.a")
endif()
