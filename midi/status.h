// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// MIDI status bytes, and how many data bytes follow each of them.
#pragma once

#include <cstdint>

namespace midi {

// Channel messages. The low nibble of the status byte is the MIDI channel, 0 to 15.
constexpr std::uint8_t NoteOff = 0x80;
constexpr std::uint8_t NoteOn = 0x90;
constexpr std::uint8_t KeyPressure = 0xA0;
constexpr std::uint8_t ControlChange = 0xB0;
constexpr std::uint8_t ProgramChange = 0xC0;
constexpr std::uint8_t ChannelPressure = 0xD0;
constexpr std::uint8_t PitchBend = 0xE0;

// System messages: they have no channel.
constexpr std::uint8_t FirstSystemStatus = 0xF0;
constexpr std::uint8_t SystemExclusive = 0xF0; // starts a message of any length
constexpr std::uint8_t TimeCode = 0xF1;        // a quarter frame of it
constexpr std::uint8_t SongPosition = 0xF2;
constexpr std::uint8_t SongSelect = 0xF3;
constexpr std::uint8_t TuneRequest = 0xF6;
constexpr std::uint8_t EndOfExclusive = 0xF7;
constexpr std::uint8_t TimingClock = 0xF8; // 24 per quarter note
constexpr std::uint8_t Start = 0xFA;
constexpr std::uint8_t Continue = 0xFB;
constexpr std::uint8_t Stop = 0xFC;
constexpr std::uint8_t SystemReset = 0xFF;

// The kind of a channel message, such as NoteOn.
constexpr std::uint8_t MessageType(std::uint8_t status) { return status & 0xF0; }
constexpr std::uint8_t ChannelOf(std::uint8_t status) { return status & 0x0F; }

// Whether it is the status byte of a channel message. False for data bytes and system messages.
constexpr bool IsChannelStatus(std::uint8_t byte) {
    return byte >= NoteOff && byte < FirstSystemStatus;
}

// A note on with velocity 0 ends a note, as a note off does.
constexpr bool StartsNote(std::uint8_t type, std::uint8_t velocity) {
    return type == NoteOn && velocity > 0;
}
constexpr bool EndsNote(std::uint8_t type, std::uint8_t velocity) {
    return type == NoteOff || (type == NoteOn && velocity == 0);
}

// The number of data bytes after a status byte, 0 to 2. 0 for system exclusive, whose length only
// its end shows, and for undefined system messages.
constexpr int DataBytes(std::uint8_t status) {
    if (status >= FirstSystemStatus) {
        if (status == SongPosition) return 2;
        return status == TimeCode || status == SongSelect ? 1 : 0;
    }
    return status >= ProgramChange && status < PitchBend ? 1 : 2;
}

} // namespace midi
