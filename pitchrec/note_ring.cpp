// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/note_ring.h"

namespace Sonorel {

NoteRing::NoteRing()
    : Block(Capacity * sizeof(std::uint32_t), 1, true),
      Words(static_cast<std::uint32_t*>(Block.Lock())) {}

void NoteRing::PushNote(std::int32_t time, PackedMessage message) {
    if (!Words) return;
    const std::uint32_t written = Written.load(std::memory_order_relaxed);
    const std::uint32_t used = written - Read.load(std::memory_order_acquire);
    if (Capacity - used < WordsPerEntry) return;
    Words[written % Capacity] = static_cast<std::uint32_t>(time);
    Words[(written + 1) % Capacity] = message;
    Written.store(written + WordsPerEntry, std::memory_order_release);
}

bool NoteRing::PopNote(std::int32_t& time, PackedMessage& message) {
    if (Popping.exchange(true, std::memory_order_acquire)) return false;
    const std::uint32_t read = Read.load(std::memory_order_relaxed);
    const bool any = Written.load(std::memory_order_acquire) - read >= WordsPerEntry;
    if (any) {
        time = static_cast<std::int32_t>(Words[read % Capacity]);
        message = Words[(read + 1) % Capacity];
        Read.store(read + WordsPerEntry, std::memory_order_release);
    }
    Popping.store(false, std::memory_order_release);
    return any;
}

std::uint32_t NoteRing::Count() const {
    // Load Read first: it never passes Written, so the difference cannot be negative.
    const std::uint32_t read = Read.load(std::memory_order_acquire);
    return Written.load(std::memory_order_acquire) - read;
}

} // namespace Sonorel
