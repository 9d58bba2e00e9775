// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sending: chooses the ports of a record, counts notes, chooses status bytes, caches patches.
#include "engine/active_call.h"
#include "engine/driver_table.h"
#include "midi/note_counts.h"
#include "mme/output_guard.h"

#include <algorithm>

using namespace midi;

namespace {

constexpr std::uint8_t HighestData = 127; // the largest data byte of a MIDI message

enum class SendResult {
    Done,        // sent, or held back by the note counts
    Refused,     // by the device, or a note or program number is above 127
    Unavailable, // the port is closed, or this thread cannot lock it now
    Stale,       // the host has stopped or killed the playback that the message belongs to
};

// The MIDI channel of a record on a port. Masked, since the host may have moved BaseChannel after
// the port was chosen.
std::uint8_t MidiChannel(const MMEOutPort& port, const MIDIEvent& event) {
    return (event.Channel - port.BaseChannel) & 0x0F;
}

// Note Off, and Note On with velocity 0, mean the same. One is sent as the other if running status
// can then continue.
std::uint8_t ChooseStatus(MMEOutPort& port, std::uint8_t type, std::uint8_t channel,
                          std::uint8_t& data2) {
    const std::uint8_t status = type | channel;
    const std::uint8_t last = port.LastStatus;
    if (status == last) return status;
    if (ChannelOf(last) == channel) {
        if (type == NoteOff && MessageType(last) == NoteOn) {
            data2 = 0;
            return last;
        }
        if (type == NoteOn && data2 == 0 && MessageType(last) == NoteOff) return last;
    }
    port.LastStatus = status;
    return status;
}

// Limits a data byte to 127, since a device takes a higher byte for a status. The velocity of a
// clipping microphone is 128.
std::uint8_t DataByte(std::uint8_t value) { return std::min(value, HighestData); }

// Counts and sends one message. Returns the device's error code. The caller holds the port.
MMRESULT CountAndSend(MMEOutPort& port, const MIDIEvent& event) {
    std::uint8_t status = event.Status;
    std::uint8_t data2 = event.Data2;
    if (status < FirstSystemStatus) {
        const std::uint8_t type = MessageType(event.Status);
        const std::uint8_t channel = MidiChannel(port, event);
        status = ChooseStatus(port, type, channel, data2);
        if (type == NoteOn || type == NoteOff) {
            std::uint8_t& count = port.NoteCounts[channel * Notes + event.Data1];
            if (!CountNote(count, StartsNote(type, event.Data2), port.OutMatch != 0))
                return MMSYSERR_NOERROR;
        }
    }
    const int packed = status | DataByte(event.Data1) << 8 | DataByte(data2) << 16;
    return midiOutShortMsg(port.Handle, static_cast<DWORD>(packed));
}

// Checks under the lock whether the message is stale: a kill then releases all notes sent before
// it, and none are sent after it. The message box opens after the lock is released, since the user
// may take minutes to close it.
SendResult SendOnce(MMEOutPort& port, const MIDIEvent& event) {
    MMRESULT code;
    {
        const OutputGuard guard(port);
        if (!guard) return SendResult::Unavailable;
        if (TransmissionCancelled()) return SendResult::Stale;
        code = CountAndSend(port, event);
    }
    if (code == MMSYSERR_NOERROR) return SendResult::Done;
    ReportMMEError(code, true);
    return SendResult::Refused;
}

// True unless a note or program number is above 127, which neither NoteCounts nor the patch table
// of the system has room for.
bool DataInRange(const MIDIEvent& event) {
    const std::uint8_t type = MessageType(event.Status);
    return event.Data1 < Notes || (type != NoteOff && type != NoteOn && type != ProgramChange);
}

SendResult SendToPort(MMEOutPort& port, const MIDIEvent& event) {
    if (!port.Handle) return SendResult::Unavailable;
    if (!DataInRange(event)) return SendResult::Refused;
    if (event.Channel >= 0 || event.Status >= FirstSystemStatus) return SendOnce(port, event);
    MIDIEvent copy = event;
    for (int channel = 0; channel < PortChannels; ++channel) {
        copy.Channel = static_cast<std::int16_t>(port.BaseChannel + channel);
        if (SendOnce(port, copy) == SendResult::Stale) return SendResult::Stale;
    }
    return SendResult::Done;
}

bool Covers(const MMEOutPort& port, std::int16_t channel) {
    const int offset = channel - port.BaseChannel;
    return channel < 0 || (offset >= 0 && offset < PortChannels);
}

// Requests a device that caches its patches to load one for the channels that will play it.
void CachePatch(MMEOutPort& port, const MIDIEvent& event) {
    const OutputGuard guard(port);
    if (!guard || !(port.Support & MIDICAPS_CACHE) || TransmissionCancelled()) return;
    WORD channels[MIDIPATCHSIZE] = {};
    midiOutCachePatches(port.Handle, 0, channels, MIDI_CACHE_QUERY);
    const WORD wanted = event.Channel < 0 ? static_cast<WORD>(0xFFFF)
                                          : static_cast<WORD>(1u << MidiChannel(port, event));
    WORD& cached = channels[event.Data1];
    if ((cached & wanted) == wanted) return;
    cached = static_cast<WORD>(cached | wanted);
    midiOutCachePatches(port.Handle, 0, channels, MIDI_CACHE_BESTFIT);
}

// The first index from the given one up whose note count is not 0; -1 if there is none or the port
// cannot be locked.
int NextSounding(MMEOutPort& port, int index) {
    const OutputGuard guard(port);
    if (!guard) return -1;
    for (; index < PortKeys; ++index)
        if (port.NoteCounts[index] != 0) return index;
    return -1;
}

} // namespace

std::uint8_t XmitToPort(MMEOutPort& port, const MIDIEvent& event) {
    return SendToPort(port, event) == SendResult::Done;
}

// Returns 0 only if a device refused: a closed or locked port is no error.
std::uint8_t MMEXmit(const MIDIEvent* event) {
    std::uint8_t result = 1;
    for (MMEOutPort& port : OutPorts) {
        if (!port.Handle || !Covers(port, event->Channel)) continue;
        if (MessageType(event->Status) == ProgramChange && DataInRange(*event))
            CachePatch(port, *event);
        const SendResult sent = SendToPort(port, *event);
        if (sent == SendResult::Stale) break;
        if (sent == SendResult::Refused) result = 0;
    }
    return result;
}

std::uint8_t MMESilence() {
    MIDIEvent event = {};
    event.Length = 2;
    event.Status = NoteOff;
    for (MMEOutPort& port : OutPorts) {
        if (!port.Handle) continue;
        for (int key = NextSounding(port, 0); key >= 0; key = NextSounding(port, key)) {
            event.Channel = static_cast<std::int16_t>(port.BaseChannel + key / Notes);
            event.Data1 = static_cast<std::uint8_t>(key % Notes);
            if (!XmitToPort(port, event)) return 0;
        }
    }
    return 1;
}
