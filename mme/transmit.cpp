// Sending: which ports a record goes to, and what each message has to pass on its way.
#include "engine/driver_table.h"
#include "engine/errand.h"
#include "midi/note_counts.h"
#include "mme/output_guard.h"

#include <algorithm>

using namespace midi;

namespace {

constexpr std::uint8_t HighestData = 127; // of a message's data bytes

enum class Sent {
    Done,
    Refused,
    NotEntered, // the port is closed, or the thread may not enter it now
    Unwanted,   // the host has ended what the message belongs to
};

// The MIDI channel of a record on a port. The host may move the port's base meanwhile, so that the
// range found earlier does not hold any more.
std::uint8_t OffsetIn(const MMEOutPort& port, const MIDIEvent& event) {
    return (event.Channel - port.BaseChannel) & 0x0F;
}

// Note Off and Note On of one channel are interchangeable where the velocity is 0, so the one is
// written as the other if that keeps the port on the status it is on.
std::uint8_t ChooseStatus(MMEOutPort& port, std::uint8_t type, std::uint8_t offset,
                          std::uint8_t& data2) {
    const std::uint8_t status = type | offset;
    const std::uint8_t last = port.LastStatus;
    if (status == last) return status;
    if (ChannelOf(last) == offset) {
        if (type == NoteOff && MessageType(last) == NoteOn) {
            data2 = 0;
            return last;
        }
        if (type == NoteOn && data2 == 0 && MessageType(last) == NoteOff) return last;
    }
    port.LastStatus = status;
    return status;
}

// A device would take a higher byte for a status. The velocity of a microphone that clips is one.
std::uint8_t DataByte(std::uint8_t value) { return std::min(value, HighestData); }

// One message to a port that this thread is inside. Gives the device's error code.
MMRESULT CountAndSend(MMEOutPort& port, const MIDIEvent& event) {
    std::uint8_t status = event.Status;
    std::uint8_t data2 = event.Data2;
    if (status < FirstSystemStatus) {
        const std::uint8_t type = MessageType(event.Status);
        const std::uint8_t offset = OffsetIn(port, event);
        status = ChooseStatus(port, type, offset, data2);
        if (type == NoteOn || type == NoteOff) {
            std::uint8_t& count = port.NoteCounts[offset * Notes + event.Data1];
            if (!CountNote(count, StartsNote(type, event.Data2), port.OutMatch != 0))
                return MMSYSERR_NOERROR;
        }
    }
    const int packed = status | DataByte(event.Data1) << 8 | DataByte(data2) << 16;
    return midiOutShortMsg(port.Handle, static_cast<DWORD>(packed));
}

// The host is asked inside the port, so that a kill finds counted, and releases, all that was sent
// before it, and nothing is sent behind it. The box comes after the port has been left: the user
// may take minutes to close it.
Sent SendOnce(MMEOutPort& port, const MIDIEvent& event) {
    MMRESULT code;
    {
        const PortEntry inside(port);
        if (!inside) return Sent::NotEntered;
        if (!StillWanted()) return Sent::Unwanted;
        code = CountAndSend(port, event);
    }
    if (code == MMSYSERR_NOERROR) return Sent::Done;
    ReportMMEError(code, true);
    return Sent::Refused;
}

// The driver's tables end at 127, and a device would take a higher byte for a status.
bool WithinTables(const MIDIEvent& event) {
    const std::uint8_t type = MessageType(event.Status);
    return event.Data1 < Notes || (type != NoteOff && type != NoteOn && type != ProgramChange);
}

Sent SendToPort(MMEOutPort& port, const MIDIEvent& event) {
    if (!port.Handle) return Sent::NotEntered;
    if (!WithinTables(event)) return Sent::Refused;
    if (event.Channel >= 0 || event.Status >= FirstSystemStatus) return SendOnce(port, event);
    MIDIEvent copy = event;
    for (int channel = 0; channel < PortChannels; ++channel) {
        copy.Channel = static_cast<std::int16_t>(port.BaseChannel + channel);
        if (SendOnce(port, copy) == Sent::Unwanted) return Sent::Unwanted;
    }
    return Sent::Done;
}

bool Covers(const MMEOutPort& port, std::int16_t channel) {
    const int offset = channel - port.BaseChannel;
    return channel < 0 || (offset >= 0 && offset < PortChannels);
}

// Asks a device that loads its patches to have this one ready on the channels that it will play on.
void CachePatch(MMEOutPort& port, const MIDIEvent& event) {
    const PortEntry inside(port);
    if (!inside || !(port.Support & MIDICAPS_CACHE) || !StillWanted()) return;
    WORD channels[MIDIPATCHSIZE] = {};
    midiOutCachePatches(port.Handle, 0, channels, MIDI_CACHE_QUERY);
    const WORD wanted = event.Channel < 0 ? static_cast<WORD>(0xFFFF)
                                          : static_cast<WORD>(1u << OffsetIn(port, event));
    WORD& cached = channels[event.Data1];
    if ((cached & wanted) == wanted) return;
    cached = static_cast<WORD>(cached | wanted);
    midiOutCachePatches(port.Handle, 0, channels, MIDI_CACHE_BESTFIT);
}

// The first key from index upward that still sounds, or -1.
int NextSounding(MMEOutPort& port, int index) {
    const PortEntry inside(port);
    if (!inside) return -1;
    for (; index < PortKeys; ++index)
        if (port.NoteCounts[index] != 0) return index;
    return -1;
}

} // namespace

std::uint8_t XmitToPort(MMEOutPort& port, const MIDIEvent& event) {
    return SendToPort(port, event) == Sent::Done;
}

// A port that was not entered has refused nothing.
std::uint8_t MMEXmit(const MIDIEvent* event) {
    std::uint8_t result = 1;
    for (MMEOutPort& port : OutPorts) {
        if (!port.Handle || !Covers(port, event->Channel)) continue;
        if (MessageType(event->Status) == ProgramChange && WithinTables(*event))
            CachePatch(port, *event);
        const Sent sent = SendToPort(port, *event);
        if (sent == Sent::Unwanted) break;
        if (sent == Sent::Refused) result = 0;
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
