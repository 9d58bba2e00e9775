# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# The product: one shared library from all subsystems, which exports the 29 functions only.
set(ZOR_SUBSYSTEMS support engine mme soundin pitchrec setup resources)
list(TRANSFORM ZOR_SUBSYSTEMS REPLACE "(.+)" "$<TARGET_OBJECTS:zor_\\1>" OUTPUT_VARIABLE zor_objects)

add_library(zormidi SHARED ${zor_objects})
add_library(zormidi::zormidi ALIAS zormidi)
target_include_directories(zormidi INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/engine> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(zormidi PRIVATE zor_options)

if(WIN32)
  zor_dll(zormidi ZORMIDI "${PROJECT_DESCRIPTION}")
  target_link_libraries(zormidi PRIVATE winmm user32 gdi32 comctl32 shell32)
else()
  target_link_libraries(zormidi PRIVATE zorplatform)
  set_target_properties(zormidi PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${ZOR_EXPORT_FOLDER}/zormidi.map)
  target_link_options(zormidi PRIVATE
    -Wl,--version-script=${ZOR_EXPORT_FOLDER}/zormidi.map ${ZOR_NO_UNDEFINED})

  # The same objects as a static library, for tests, fuzz targets and benchmarks that use internals.
  add_library(zor_inside STATIC EXCLUDE_FROM_ALL ${zor_objects})
  target_link_libraries(zor_inside PUBLIC zor_options zorplatform)
  target_link_options(zor_inside INTERFACE -Wl,--undefined=ZorResources) # links library_resources.cpp
endif()
