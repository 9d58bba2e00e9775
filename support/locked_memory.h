// Zero-filled blocks of the system's global memory that stay locked from their making to their end.
#pragma once

#include "platform/platform.h"

#include <cstddef>

namespace Sonorel {

// flags: the system's GMEM_ values. Null when out of memory. Real time: no.
void* AllocateLocked(UINT flags, std::size_t bytes);
// Takes null too.
void FreeLocked(void* address);

} // namespace Sonorel
