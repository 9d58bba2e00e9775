// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Resets for PowerOn: each file that keeps state registers one.
#pragma once

#include <vector>

namespace machine {

// Those that are registered.
using Resets = std::vector<void (*)()>;

// A static object of this type registers a reset that every PowerOn runs. The clock is real and no
// action is pending when it runs; the order of resets is unspecified.
struct AtPowerOn {
    explicit AtPowerOn(void (*reset)());
};

} // namespace machine
