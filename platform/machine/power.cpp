// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/machine/power.h"

#include "platform/common/immortal_singleton.h"
#include "platform/machine.h"

namespace machine {

void PowerOn() {
    UseRealClock();
    for (const auto reset : common::ImmortalSingleton<Resets>()) reset();
}

} // namespace machine
