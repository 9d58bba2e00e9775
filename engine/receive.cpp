// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/receive.h"

#include "engine/active_call.h"
#include "engine/driver_group.h"
#include "engine/queues.h"
#include "engine/time_base.h"
#include "engine/transmission.h"

#include <array>
#include <atomic>

namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr int MapEntries = 64;
constexpr std::uint8_t ActiveSensing = 0xFE;
constexpr int SystemClass = 7;
constexpr int NoStatusClass = 15;

// Milliseconds added to the time computed from a record's age.
constexpr std::int32_t AgeOffset = -30;

// Relaxed: a record in progress may see the old or the new value of each.
std::atomic<std::uint16_t> FilterMask{0};
std::atomic<std::uint16_t> SysFilterMask{0};
std::array<std::atomic<std::uint8_t>, MapEntries> EchoMap;
// Release and acquire: a thread that sees the echo on sees its map.
std::atomic<std::uint8_t> EchoOn{0};

bool Bit(unsigned mask, unsigned bit) { return (mask >> bit & 1u) != 0; }

// Bits 0 to 7 of the filter mask are the status classes 0x8 to 0xF, bit 15 is a status below 0x80.
// A set bit filters the class; of the system messages only those with a set bit in SysFilterMask.
bool PassesFilter(std::uint8_t status) {
    const unsigned kind = status >= 0x80 ? (status >> 4) - 8u : NoStatusClass;
    if (!Bit(FilterMask.load(relaxed), kind)) return true;
    return kind == SystemClass && !Bit(SysFilterMask.load(relaxed), status & 15u);
}

// Computes in unsigned integers, since times wrap with the 32-bit millisecond clock.
std::int32_t TimeStamp(std::int32_t time, bool aged) {
    const auto given = static_cast<std::uint32_t>(time);
    if (aged) {
        const auto now = static_cast<std::uint32_t>(CurrentMIDITime());
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(AgeOffset) - given + now);
    }
    if (ExternalSync()) return CurrentMIDITime();
    return static_cast<std::int32_t>(given - ReadTimeBase().TimeOrigin);
}

// Sends the record to the outputs. Channel messages on channels 0 to 63 go to their mapped channel.
void Echo(MIDIEvent copy, Generation start) {
    const bool mapped = copy.Status < 0xF0 && copy.Channel >= 0 && copy.Channel < MapEntries;
    if (mapped) copy.Channel = EchoMap[static_cast<std::size_t>(copy.Channel)].load(relaxed);
    XmitToDrivers(copy, start);
}

// map: 64 entries; null maps each channel to itself.
void SetEchoMap(const std::uint8_t* map) {
    for (std::size_t channel = 0; channel < MapEntries; ++channel) {
        EchoMap[channel].store(map ? map[channel] : static_cast<std::uint8_t>(channel), relaxed);
    }
}

} // namespace

bool EchoIsOn() { return EchoOn.load(std::memory_order_acquire) != 0; }

bool RcvEvent(MIDIEvent* event, std::uint8_t aged) {
    if (event->Status == ActiveSensing) return true;
    // Read first: a kill from here on cancels the echo, whose note would otherwise keep sounding.
    const Generation start = CallbackGeneration();
    FeedClock(*event);
    event->Time = TimeStamp(event->Time, aged != 0);
    if (Transmitting()) return false; // an echo must not interleave with a transmission
    if (PassesFilter(event->Status)) PushMQ(*event, MIDIQueues[InputQueue], true);
    if (EchoIsOn()) Echo(*event, start);
    return true;
}

void ZORCALL ZorFilterMIDI(uint16_t mask, uint16_t sysMask) ZORNOEXCEPT {
    FilterMask.store(mask, relaxed);
    SysFilterMask.store(sysMask, relaxed);
}

// The map is set before the echo is switched on, the drivers are opened after it.
void ZORCALL ZorEchoMIDI(ZorBool on, const uint8_t* map) ZORNOEXCEPT {
    if (on) SetEchoMap(map);
    EchoOn.store(on, std::memory_order_release);
    if (on) {
        OpenMIDIDrivers();
    } else {
        CloseMIDIDrivers();
    }
}
