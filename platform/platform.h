// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The system calls that the library makes, by the system's own names.
//
// On Windows these are the system's own headers and nothing else. Elsewhere libzorplatform plays
// the system's part: it declares the same names, types and values for just the calls in use.
// Everything above this seam includes this file and no other of platform/.
#pragma once

#if defined(_WIN32)

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off
#include <windows.h>
#include <mmsystem.h>
#include <commctrl.h>
#include <dsound.h>
#include <process.h>
#include <shellapi.h>
// clang-format on

#else

#include "platform/system/controls.h"
#include "platform/system/dsound.h"
#include "platform/system/gdi.h"
#include "platform/system/kernel.h"
#include "platform/system/midi.h"
#include "platform/system/mixer.h"
#include "platform/system/mmtime.h"
#include "platform/system/types.h"
#include "platform/system/user.h"
#include "platform/system/wave.h"

// A host may have functions of the same names: none of these is one of them.
using namespace zorsystem;

#endif
