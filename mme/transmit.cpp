// Sending: which ports a record goes to, and what each message has to pass on its way.
#include "engine/driver.h"
#include "mme/ports.h"
#include "mme/transmit_lock.h"

namespace {

constexpr std::uint8_t NoteOff = 0x80;
constexpr std::uint8_t NoteOn = 0x90;
constexpr std::uint8_t ProgramChange = 0xC0;
constexpr std::uint8_t FirstSystemStatus = 0xF0;
constexpr std::uint8_t MostNoteOns = 127; // that one key's count goes up to
constexpr int Notes = 128;

constexpr std::uint8_t TypeOf(std::uint8_t status) { return status & 0xF0; }

enum class Sent { Done, Refused, PortClosed };

// Note Off and Note On of one channel are interchangeable where the velocity is 0, so the one is
// written as the other if that keeps the port on the status it is on.
std::uint8_t ChooseStatus(MMEOutPort& port, std::uint8_t type, std::uint8_t offset,
                          std::uint8_t& data2) {
    const std::uint8_t status = type | offset;
    const std::uint8_t last = port.LastStatus;
    if (status == last) return status;
    if ((last & 0x0F) == offset) {
        if (type == NoteOff && TypeOf(last) == NoteOn) {
            data2 = 0;
            return last;
        }
        if (type == NoteOn && data2 == 0 && TypeOf(last) == NoteOff) return last;
    }
    port.LastStatus = status;
    return status;
}

// Counts a note as the caller wrote it and tells whether it goes out.
bool CountNote(std::uint8_t& count, bool noteOn, bool outMatch) {
    if (noteOn) {
        if (count == MostNoteOns) return false;
        ++count;
        return true;
    }
    if (count == 0) return false;
    --count;
    return count == 0 || outMatch;
}

// One message to an open port, under the lock. Gives the device's error code.
MMRESULT SendOpen(MMEOutPort& port, const MIDIEvent& event) {
    std::uint8_t status = event.Status;
    std::uint8_t data2 = event.Data2;
    if (status < FirstSystemStatus) {
        const std::uint8_t type = TypeOf(event.Status);
        const std::uint8_t offset = (event.Channel - port.BaseChannel) & 0x0F;
        status = ChooseStatus(port, type, offset, data2);
        if (type == NoteOn || type == NoteOff) {
            std::uint8_t& count = port.NoteCounts[offset * Notes + event.Data1];
            if (!CountNote(count, type == NoteOn && event.Data2 != 0, port.OutMatch != 0))
                return MMSYSERR_NOERROR;
        }
    }
    const DWORD packed = static_cast<DWORD>(status | event.Data1 << 8 | data2 << 16);
    return midiOutShortMsg(port.Handle, packed);
}

// The box comes after the lock has been let go: the user may take minutes to close it.
Sent SendOnce(MMEOutPort& port, const MIDIEvent& event) {
    MMRESULT code;
    {
        const TransmitLock lock;
        if (!port.NoteCounts) return Sent::PortClosed;
        code = SendOpen(port, event);
    }
    if (code == MMSYSERR_NOERROR) return Sent::Done;
    ReportMMEError(code, true);
    return Sent::Refused;
}

// The driver's tables end at 127, and a device would take a higher byte for a status.
bool WithinTables(const MIDIEvent& event) {
    const std::uint8_t type = TypeOf(event.Status);
    return event.Data1 < Notes || (type != NoteOff && type != NoteOn && type != ProgramChange);
}

Sent Send(MMEOutPort& port, const MIDIEvent& event) {
    if (!port.Handle) return Sent::PortClosed;
    if (!WithinTables(event)) return Sent::Refused;
    if (event.Channel >= 0 || event.Status >= FirstSystemStatus) return SendOnce(port, event);
    MIDIEvent copy = event;
    for (int channel = 0; channel < PortChannels; ++channel) {
        copy.Channel = static_cast<std::int16_t>(port.BaseChannel + channel);
        SendOnce(port, copy);
    }
    return Sent::Done;
}

bool Covers(const MMEOutPort& port, std::int16_t channel) {
    const int offset = channel - port.BaseChannel;
    return channel < 0 || (offset >= 0 && offset < PortChannels);
}

// Asks a device that loads its patches to have this one ready on the channels that it will play on.
void CachePatch(MMEOutPort& port, const MIDIEvent& event) {
    const TransmitLock lock;
    if (!port.NoteCounts || !(port.Support & MIDICAPS_CACHE)) return;
    WORD channels[MIDIPATCHSIZE] = {};
    midiOutCachePatches(port.Handle, 0, channels, MIDI_CACHE_QUERY);
    const WORD wanted = event.Channel < 0
                            ? static_cast<WORD>(0xFFFF)
                            : static_cast<WORD>(1u << (event.Channel - port.BaseChannel));
    WORD& cached = channels[event.Data1];
    if ((cached & wanted) == wanted) return;
    cached = static_cast<WORD>(cached | wanted);
    midiOutCachePatches(port.Handle, 0, channels, MIDI_CACHE_BESTFIT);
}

// The first key from index upward that still sounds, or -1.
int NextSounding(const MMEOutPort& port, int index) {
    const TransmitLock lock;
    if (!port.NoteCounts) return -1;
    for (; index < PortChannels * Notes; ++index)
        if (port.NoteCounts[index] != 0) return index;
    return -1;
}

} // namespace

std::uint8_t XmitToPort(MMEOutPort& port, const MIDIEvent& event) {
    return Send(port, event) == Sent::Done;
}

std::uint8_t MMEXmit(const MIDIEvent* event) {
    std::uint8_t result = 1;
    for (MMEOutPort& port : OutPorts) {
        if (!port.Handle || !Covers(port, event->Channel)) continue;
        if (TypeOf(event->Status) == ProgramChange && WithinTables(*event))
            CachePatch(port, *event);
        // A port that another thread has closed since has refused nothing.
        if (Send(port, *event) == Sent::Refused) result = 0;
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
