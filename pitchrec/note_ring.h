// The ring of note messages between the analysis and whoever fetches them.
#pragma once

#include "support/global_buffer.h"

#include <atomic>
#include <cstdint>

namespace Sonorel {

// A status and two data bytes: bits 23..16, 15..8, 7..0; the top byte is 0.
using PackedMessage = std::uint32_t;

constexpr PackedMessage PackMessage(std::uint32_t status, std::int32_t data1, std::int32_t data2) {
    return (status & 0xFF) << 16 | (static_cast<std::uint32_t>(data1) & 0xFF) << 8 |
           (static_cast<std::uint32_t>(data2) & 0xFF);
}

// Holds 128 entries of two words: time stamp in milliseconds, then the message. One producer; any
// number of consumers, of which one at a time gets in. Nobody waits.
class NoteRing {
public:
    static constexpr std::uint32_t Capacity = 256; // words; a power of two
    static constexpr std::uint32_t WordsPerEntry = 2;

    NoteRing();
    NoteRing(const NoteRing&) = delete;
    NoteRing& operator=(const NoteRing&) = delete;

    // Adds an entry, or drops it when less than two words are free. Thread: the one producer.
    // Real time: yes.
    void PushNote(std::int32_t time, PackedMessage message);

    // Takes the oldest entry. False, with the outputs untouched, if there is none or another
    // consumer is just taking one. Thread: any. Real time: yes.
    bool TakeNote(std::int32_t& time, PackedMessage& message);

    // False: memory was short, and the ring holds nothing.
    bool IsUsable() const { return Words != nullptr; }

    // Words held. Exact on the producer's or the one consumer's thread, else of the moment.
    std::uint32_t Count() const;

private:
    // Counts that only grow (and wrap at 2^32); an index is a count modulo Capacity. Each side
    // writes its own with release and reads the other's with acquire, so that the words between
    // them are always whole.
    std::atomic<std::uint32_t> Written{0};
    std::atomic<std::uint32_t> Read{0};
    std::atomic<bool> Taking{false}; // a consumer is inside
    GlobalBuffer Block;              // locked for the life of the ring
    std::uint32_t* Words;            // what the lock gave
};

} // namespace Sonorel
