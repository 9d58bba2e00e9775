# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# Run after the DLL is linked: cmake -DDLL= -DDEF= -DNM= -DDLLTOOL= -DFOLDER= -DNAME= -P ImportLibraries.cmake
# Writes to FOLDER the import libraries that programs link. They hold the names that callers use: on
# 32 bits these end with the number of bytes that the function pops off the stack (_ZorXmit@8), while
# the DLL exports the plain name.
file(STRINGS ${DEF} names REGEX "^ +[A-Za-z]+$")
execute_process(COMMAND ${NM} ${DLL} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
set(lines "LIBRARY ${NAME}.DLL\nEXPORTS\n")
foreach(name ${names})
  string(STRIP ${name} name)
  string(REGEX MATCH " T _${name}@[0-9]+" decorated "${symbols}")
  string(REGEX REPLACE "^ T _" "" decorated "${decorated}")
  if(decorated)
    set(name ${decorated})
  endif()
  string(APPEND lines "    ${name}\n")
endforeach()
file(WRITE ${FOLDER}/${NAME}.def ${lines})
foreach(kind --output-lib=lib${NAME}.dll.a --output-delaylib=lib${NAME}-delayed.a)
  execute_process(WORKING_DIRECTORY ${FOLDER} COMMAND ${DLLTOOL} --kill-at --deterministic-libraries
    --input-def=${NAME}.def ${kind} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
