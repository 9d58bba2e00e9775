# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# The exported functions of both libraries, in the order of their declarations in the public headers:
# ZOR_EXPORT_FOLDER has NAME.def and NAME.map for the linkers, and NAME.inc for tests of the DLL, with the
# bytes of arguments that each function removes from a 32-bit caller's stack.
set(ZOR_EXPORT_FOLDER ${PROJECT_BINARY_DIR}/exports)

# zor_exports(name dll header): writes the three for a header whose functions are marked with ...CALL.
function(zor_exports name dll path)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${path})
  file(READ ${path} header)
  string(REGEX MATCHALL "CALL *[A-Za-z]+\\([^)]*\\)" declarations "${header}")
  set(def "LIBRARY ${dll}\nEXPORTS\n")
  set(map "{\n  global:\n")
  set(inc "")
  foreach(declaration IN LISTS declarations)
    string(REGEX REPLACE "CALL *([A-Za-z]+)\\(.*" "\\1" function "${declaration}")
    # A parameter takes a slot of 4 bytes on 32 bits, doubles and 64-bit numbers by value two.
    string(REGEX MATCHALL ",|double [a-z]|ZorListener [a-z]" slots "${declaration}")
    list(LENGTH slots count)
    if(NOT declaration MATCHES "\\(void\\)")
      math(EXPR count "${count} + 1")
    endif()
    math(EXPR bytes "4 * ${count}")
    string(APPEND def "    ${function}\n")
    string(APPEND map "    ${function};\n")
    string(APPEND inc "EXPORT(${function}, ${bytes})\n")
  endforeach()
  string(APPEND map "  local:\n    *;\n};\n")
  foreach(kind def map inc)
    file(CONFIGURE OUTPUT ${ZOR_EXPORT_FOLDER}/${name}.${kind} CONTENT "${${kind}}" @ONLY)
  endforeach()
endfunction()
zor_exports(zormidi ZORMIDI engine/zormidi.h)
zor_exports(zorhearing ZORHEARING zorhearing/zorhearing.h)
