// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The entry point of a screen back end's shared object. docs/new-back-end.md
#pragma once

#include "platform/api/screen.h"

namespace device {

// The screen, which lives until the process ends. Null with the reason in a sentence if there is no
// display; the registry then tries the next back end.
using OpenScreenFunction = Screen*(std::string& reason);

} // namespace device

extern "C" __attribute__((visibility("default"))) device::OpenScreenFunction OpenZorScreen;
