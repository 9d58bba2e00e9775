# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# Hosts and the system call with a stack aligned to 4 bytes only, so functions that need more align it
# themselves. Doubles are computed in SSE registers, which gives the results of other systems.
set(CMAKE_C_FLAGS_INIT "-mstackrealign -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-mstackrealign -msse2 -mfpmath=sse")
