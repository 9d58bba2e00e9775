// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Apart from PowerOn, since the ear's library has state to reset, but no clock.
#include "platform/common/immortal_singleton.h"
#include "platform/machine/power.h"

namespace machine {

AtPowerOn::AtPowerOn(void (*reset)()) { common::ImmortalSingleton<Resets>().push_back(reset); }

} // namespace machine
