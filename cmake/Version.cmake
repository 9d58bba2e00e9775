# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# Reads the version from the public header, the only place that states it: ZOR_VERSION.
set(versionHeader ${CMAKE_CURRENT_SOURCE_DIR}/engine/zormidi.h)
file(STRINGS ${versionHeader} numbers REGEX "^#define ZORMIDI_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
list(TRANSFORM numbers REPLACE ".* " "")
list(JOIN numbers "." ZOR_VERSION)
if(NOT ZOR_VERSION MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+$")
  message(FATAL_ERROR "engine/zormidi.h: expected three numbers, ZORMIDI_VERSION_MAJOR to _PATCH")
endif()

# A vcpkg port has to repeat it.
set(port ${CMAKE_CURRENT_SOURCE_DIR}/packaging/vcpkg/zormidi/vcpkg.json)
if(EXISTS ${port})
  file(READ ${port} manifest)
  string(JSON portVersion GET "${manifest}" version)
  if(NOT portVersion STREQUAL ZOR_VERSION)
    message(FATAL_ERROR "${port}: version ${portVersion}, but engine/zormidi.h has ${ZOR_VERSION}")
  endif()
endif()
