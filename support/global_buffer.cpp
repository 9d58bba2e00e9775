// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "support/global_buffer.h"

namespace Sonorel {

GlobalBuffer::GlobalBuffer(std::uint32_t size, std::int32_t kind, bool owned)
    : Kind(kind), Size(size), Owned(owned) {
    if (AllocatesBlock() && size > 0)
        Handle = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT | GMEM_SHARE, size);
}

GlobalBuffer::~GlobalBuffer() {
    if (!Owned || !Handle) return;
    for (; LockCount > 0; --LockCount) GlobalUnlock(Handle);
    if (AllocatesBlock()) GlobalFree(Handle);
}

void* GlobalBuffer::Lock() {
    if (!Handle) return nullptr;
    ++LockCount;
    return GlobalLock(Handle);
}

} // namespace Sonorel
