// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Zero-filled blocks of the system's global memory, locked for their whole life.
#pragma once

#include "platform/platform.h"

#include <cstddef>

namespace Sonorel {

// flags: the system's GMEM_ values. Returns the address, or null when out of memory. Real time: no.
void* AllocateLocked(UINT flags, std::size_t bytes);
// address may be null. Real time: no.
void FreeLocked(void* address);

} // namespace Sonorel
