// Status bytes of MIDI that mean something to this driver.
#pragma once

#include <cstdint>

namespace midistatus {

// Of channel messages, whose low nibble is the channel.
constexpr std::uint8_t NoteOff = 0x80;
constexpr std::uint8_t NoteOn = 0x90;
constexpr std::uint8_t ProgramChange = 0xC0;
constexpr std::uint8_t PitchBend = 0xE0;
constexpr std::uint8_t MessageType(std::uint8_t status) { return status & 0xF0; }
constexpr std::uint8_t ChannelOf(std::uint8_t status) { return status & 0x0F; }

// From here on they are system messages, which have no channel.
constexpr std::uint8_t FirstSystemStatus = 0xF0;
constexpr std::uint8_t SongPosition = 0xF2;
constexpr std::uint8_t SongSelect = 0xF3;
constexpr std::uint8_t TuneRequest = 0xF6;
constexpr std::uint8_t TimingClock = 0xF8;
constexpr std::uint8_t Start = 0xFA;
constexpr std::uint8_t Continue = 0xFB;
constexpr std::uint8_t Stop = 0xFC;

} // namespace midistatus
