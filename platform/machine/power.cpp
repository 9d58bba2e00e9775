// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/machine/power.h"

#include "platform/common/immortal_singleton.h"
#include "platform/machine.h"

namespace machine {

using Resets = std::vector<void (*)()>;

AtPowerOn::AtPowerOn(void (*reset)()) { common::ImmortalSingleton<Resets>().push_back(reset); }

void PowerOn() {
    UseRealClock();
    for (const auto reset : common::ImmortalSingleton<Resets>()) reset();
}

} // namespace machine
