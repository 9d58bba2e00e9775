# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# `cmake --install`: the headers, the libraries, the platform library with the headers that control it,
# zorhost, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS zormidi zorhearing EXPORT zormidiTargets RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES engine/zormidi.h zorhearing/zorhearing.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zormidiTargets NAMESPACE zormidi:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zormidi)

configure_package_config_file(cmake/zormidiConfig.cmake.in zormidiConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zormidi)
write_basic_package_version_file(zormidiConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zormidiConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/zormidiConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zormidi)

file(RELATIVE_PATH ZOR_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(ZOR_PC_zormidi ${PROJECT_DESCRIPTION})
set(ZOR_PC_zorhearing "Notes from the sound of one voice or melody instrument")
foreach(ZOR_PC_NAME zormidi zorhearing)
  set(ZOR_PC_DESCRIPTION ${ZOR_PC_${ZOR_PC_NAME}})
  configure_file(cmake/library.pc.in ${ZOR_PC_NAME}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${ZOR_PC_NAME}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

if(WIN32)
  if(TARGET zorhost)
    install(TARGETS zorhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
  return()
endif()

# The platform library.
set_target_properties(zormidi zorplatform PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS zorplatform EXPORT zormidiTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# machine.h and all headers that it includes.
set(machine_headers platform/machine.h)
foreach(depth RANGE 3) # no include chain is longer
  foreach(header ${machine_headers})
    file(STRINGS ${header} lines REGEX "^#include \"platform/")
    list(TRANSFORM lines REPLACE ".*\"(.*)\".*" "\\1")
    list(APPEND machine_headers ${lines})
  endforeach()
  list(REMOVE_DUPLICATES machine_headers)
endforeach()
foreach(header ${machine_headers})
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zormidi/${folder})
endforeach()

# The back ends, which zorplatform loads from its own folder when a device or dialog is first needed.
get_property(back_ends GLOBAL PROPERTY ZOR_BACK_ENDS)
if(back_ends)
  set_target_properties(${back_ends} PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${back_ends} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
endif()

if(TARGET zorhost)
  set_target_properties(zorhost PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS zorhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_BINARY_DIR}/host/zorhost.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES host/cli/completion.bash RENAME zorhost
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES host/cli/completion.zsh RENAME _zorhost DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
  install(FILES host/cli/completion.fish RENAME zorhost.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  install(FILES packaging/linux/zorhost.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES packaging/linux/zorhost.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()
