// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Parses the messages of input devices into records for the engine.
#include "engine/receive.h"
#include "midi/status.h"
#include "mme/ports.h"

#include <array>

using namespace midi;

namespace {

enum class Delivery : std::uint8_t {
    Dropped,
    Delivered, // from every port
    SyncOnly,  // delivered, but with SyncEnabled only from SyncMaster
};
struct StatusRule {
    Delivery Rule;
    std::uint8_t Length; // data bytes
};

constexpr std::array<StatusRule, 256> MakeStatusRules() {
    std::array<StatusRule, 256> rules{}; // all dropped
    for (int status = NoteOff; status < FirstSystemStatus; ++status)
        rules[status] = {Delivery::Delivered, 2};
    for (int status = ProgramChange; status < PitchBend; ++status) // and Channel Pressure
        rules[status] = {Delivery::Delivered, 1};
    rules[SongPosition] = {Delivery::SyncOnly, 2};
    rules[SongSelect] = {Delivery::SyncOnly, 1};
    rules[TuneRequest] = {Delivery::Delivered, 0};
    for (const std::uint8_t status : {TimingClock, Start, Continue, Stop})
        rules[status] = {Delivery::SyncOnly, 0};
    return rules;
}
constexpr std::array<StatusRule, 256> StatusRules = MakeStatusRules();

int RowOf(HMIDIIN handle) {
    if (!handle) return -1;
    for (int row = 0; row < PortRows; ++row)
        if (InPorts[row].Handle == handle) return row;
    return -1;
}

} // namespace

void ParseMidiIn(HMIDIIN handle, std::uint32_t packed, std::uint32_t stamp) {
    const std::uint8_t status = packed & 0xFF;
    const StatusRule rule = StatusRules[status];
    if (rule.Rule == Delivery::Dropped) return;
    const int row = RowOf(handle);
    if (row < 0) return;
    if (rule.Rule == Delivery::SyncOnly && SyncEnabled && row != SyncMaster) return;

    const MMEInPort& port = InPorts[row];
    const bool channelMessage = status < FirstSystemStatus;
    MIDIEvent event = {};
    event.Time = static_cast<std::int32_t>(port.StartTime + stamp); // a timeGetTime value
    event.Length = rule.Length;
    event.Channel =
        static_cast<std::int16_t>(port.BaseChannel + (channelMessage ? ChannelOf(status) : 0));
    event.Status = channelMessage ? MessageType(status) : status;
    event.Data1 = packed >> 8 & 0xFF;
    event.Data2 = packed >> 16 & 0xFF;
    RcvEvent(&event, 0);
}
