// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Which notes sound on one MIDI connection, for real-time use.
#pragma once

#include "midi/status.h"

#include <bitset>
#include <cstddef>
#include <cstdint>

namespace midi {

// One flag for each of the 16 x 128 notes: set by a note on, cleared by the first note off. Short
// messages are packed as the system packs them: status in the lowest byte, then the data bytes.
// Real time: yes, nothing allocates. Not thread-safe.
class SoundingNotes {
public:
    // Updates the flags by one message; messages other than note on and note off change nothing.
    void Apply(std::uint32_t message) {
        const auto status = static_cast<std::uint8_t>(message);
        const auto velocity = static_cast<std::uint8_t>(message >> 16);
        const std::size_t index = std::size_t{ChannelOf(status)} * Notes + (message >> 8 & 0x7F);
        if (StartsNote(MessageType(status), velocity)) Sounding.set(index);
        if (EndsNote(MessageType(status), velocity)) Sounding.reset(index);
    }
    void Clear() { Sounding.reset(); }

    // Calls send with a packed note off, velocity 0, for each sounding note, and clears its flag.
    template <class Send>
    void Release(Send send) {
        for (std::uint32_t index = 0; Sounding.any() && index < Sounding.size(); ++index) {
            if (!Sounding[index]) continue;
            Sounding.reset(index);
            send(NoteOff | index / Notes | (index % Notes) << 8);
        }
    }

private:
    static constexpr std::uint32_t Notes = 128; // per channel
    std::bitset<std::size_t{16} * Notes> Sounding;
};

} // namespace midi
