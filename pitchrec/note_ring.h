// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Passes note messages from the analysis to the threads that fetch them.
#pragma once

#include "support/global_buffer.h"

#include <atomic>
#include <cstdint>

namespace Sonorel {

// A status byte and two data bytes in bits 23-16, 15-8 and 7-0. The highest byte is 0.
using PackedMessage = std::uint32_t;

constexpr PackedMessage PackMessage(std::uint32_t status, std::int32_t data1, std::int32_t data2) {
    return (status & 0xFF) << 16 | (static_cast<std::uint32_t>(data1) & 0xFF) << 8 |
           (static_cast<std::uint32_t>(data2) & 0xFF);
}

// A lock-free ring of 128 entries of two words each: a time stamp in milliseconds, then the
// message. One producer, any number of consumers, of which one at a time pops. No thread waits.
class NoteRing {
public:
    static constexpr std::uint32_t Capacity = 256; // words; a power of two
    static constexpr std::uint32_t WordsPerEntry = 2;

    NoteRing();
    NoteRing(const NoteRing&) = delete;
    NoteRing& operator=(const NoteRing&) = delete;

    // Adds an entry, or drops it if the ring is full. Thread: the producer.
    // Real time: yes.
    void PushNote(std::int32_t time, PackedMessage message);

    // Removes the oldest entry. Returns false and leaves the outputs unchanged if there is none or
    // another consumer is popping one. Thread: any. Real time: yes.
    bool PopNote(std::int32_t& time, PackedMessage& message);

    // False if the constructor could not allocate memory: the ring then stays empty.
    bool IsUsable() const { return Words != nullptr; }

    // Number of words in the ring. Exact on the thread of the producer or of the only consumer; on
    // others it may be outdated.
    std::uint32_t Count() const;

private:
    // Numbers of words written and read so far, modulo 2^32; an index is such a number modulo
    // Capacity. Each side stores its own with release and loads the other's with acquire, so that
    // the words between them are complete.
    std::atomic<std::uint32_t> Written{0};
    std::atomic<std::uint32_t> Read{0};
    std::atomic<bool> Popping{false}; // a consumer is in PopNote
    GlobalBuffer Block;               // locked as long as the ring exists
    std::uint32_t* Words;             // address of the locked block; null without memory
};

} // namespace Sonorel
