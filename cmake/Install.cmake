# What `cmake --install` gives: the header, the library and the system's stand-in with the headers to
# steer it, zorhost, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS zormidi EXPORT zormidiTargets RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES engine/zormidi.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zormidiTargets NAMESPACE zormidi:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zormidi)

configure_package_config_file(cmake/zormidiConfig.cmake.in zormidiConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zormidi)
write_basic_package_version_file(zormidiConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zormidiConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/zormidiConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zormidi)

file(RELATIVE_PATH ZOR_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/zormidi.pc.in zormidi.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zormidi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(WIN32)
  if(TARGET zorhost)
    install(TARGETS zorhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
  return()
endif()

# The stand-in.
set_target_properties(zormidi zorplatform PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS zorplatform EXPORT zormidiTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# machine.h and all that it includes.
set(steering platform/machine.h)
foreach(depth RANGE 3) # none lies deeper
  foreach(header ${steering})
    file(STRINGS ${header} lines REGEX "^#include \"platform/")
    list(TRANSFORM lines REPLACE ".*\"(.*)\".*" "\\1")
    list(APPEND steering ${lines})
  endforeach()
  list(REMOVE_DUPLICATES steering)
endforeach()
foreach(header ${steering})
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zormidi/${folder})
endforeach()

# Loaded from beside zorplatform, by whoever shows a dialog or has real devices.
get_property(loaded GLOBAL PROPERTY ZOR_BACK_ENDS)
if(loaded)
  set_target_properties(${loaded} PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${loaded} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
endif()

if(TARGET zorhost)
  set_target_properties(zorhost PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS zorhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${CMAKE_BINARY_DIR}/host/zorhost.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES host/cli/completion.bash RENAME zorhost
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()
