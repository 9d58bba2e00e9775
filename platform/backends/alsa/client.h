// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// This program's clients of ALSA's sequencer: one that owns the ports, and a second one that only
// sends. The kernel serves one call of a client at a time, and connecting a device or creating a
// queue may take long, which must not delay sending.
//
// Thread: any, unless noted. Prints nothing.
#pragma once

#include "platform/api/midi.h"
#include "platform/backends/alsa/time_stamps.h"

#include <memory>
#include <string>
#include <vector>

namespace device {

// A port that people would call a device.
struct FoundPort {
    Address Location;
    std::string Name; // in full
    bool IsInput;     // it sends to us
    bool IsOutput;
    bool Is(MidiDirection direction) const {
        return direction == MidiDirection::Input ? IsInput : IsOutput;
    }
};

class SequencerClient {
public:
    // Null, with the system's reason, if there is no sequencer or this user may not open it.
    static std::shared_ptr<SequencerClient> Open(std::string& reason);
    ~SequencerClient();
    SequencerClient(const SequencerClient&) = delete;
    SequencerClient& operator=(const SequencerClient&) = delete;

    std::vector<FoundPort> FindPorts();
    // Names of the other clients that a port is connected to.
    std::vector<std::string> Users(MidiDirection direction, Address port);

    // Creates a port of our own, which other programs neither see nor connect. -1 if the system has
    // none left.
    int CreatePort(MidiDirection direction, const std::string& name);
    void DeletePort(MidiDirection direction, int port);
    // Connects our port to a device's. Done, InUse, Gone or Failed.
    MidiResult Connect(MidiDirection direction, int port, Address peer);
    bool IsConnected(MidiDirection direction, int port, Address peer);

    // Done, Gone, or Full if the kernel's buffer is full. Real time.
    MidiResult Write(snd_seq_event_t& event);

    // Waits for an event to read, for Wake, or at most the given number of milliseconds; -1 for no
    // limit.
    void Wait(int milliseconds);
    void Wake();
    // The next event, valid until the next call; null for none. Sets lost if the kernel has dropped
    // events before it. Thread: the receiving one. Real time.
    const snd_seq_event_t* Read(bool& lost);
    bool IsOurs(const snd_seq_addr_t& address) const { return address.client == Number; }

    TimeStamps& Stamps() { return InputStamps; }

private:
    struct Close {
        void operator()(snd_seq_t* client) const { snd_seq_close(client); }
    };
    using Handle = std::unique_ptr<snd_seq_t, Close>;

    SequencerClient(Handle ports, Handle sender, int wakeEvent);
    static Handle OpenOne(int streams, std::string& reason);
    bool SubscribeAnnouncements();

    const Handle PortClient;
    const Handle SendClient;
    const int Number;    // of PortClient
    const int WakeEvent; // an eventfd
    TimeStamps InputStamps;
};

} // namespace device
