# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# The exported functions, in the order of their declarations in engine/zormidi.h: ZOR_EXPORT_FOLDER has
# zormidi.def and zormidi.map for the linkers, and exports.inc for tests of the DLL, with the bytes of
# arguments that each function removes from a 32-bit caller's stack.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/engine/zormidi.h)
set(ZOR_EXPORT_FOLDER ${PROJECT_BINARY_DIR}/exports)

file(READ engine/zormidi.h header)
string(REGEX MATCHALL "ZORCALL [A-Za-z]+\\([^)]*\\)" declarations "${header}")
set(def "LIBRARY ZORMIDI\nEXPORTS\n")
set(map "{\n  global:\n")
set(inc "")
foreach(declaration IN LISTS declarations)
  string(REGEX REPLACE "ZORCALL ([A-Za-z]+)\\(.*" "\\1" name "${declaration}")
  # Every parameter type has at most 4 bytes on 32 bits, so each takes one slot of the stack.
  string(REGEX MATCHALL "," commas "${declaration}")
  list(LENGTH commas parameters)
  if(NOT declaration MATCHES "\\(void\\)")
    math(EXPR parameters "${parameters} + 1")
  endif()
  math(EXPR bytes "4 * ${parameters}")
  string(APPEND def "    ${name}\n")
  string(APPEND map "    ${name};\n")
  string(APPEND inc "EXPORT(${name}, ${bytes})\n")
endforeach()
string(APPEND map "  local:\n    *;\n};\n")
foreach(kind def map)
  file(CONFIGURE OUTPUT ${ZOR_EXPORT_FOLDER}/zormidi.${kind} CONTENT "${${kind}}" @ONLY)
endforeach()
file(CONFIGURE OUTPUT ${ZOR_EXPORT_FOLDER}/exports.inc CONTENT "${inc}" @ONLY)
