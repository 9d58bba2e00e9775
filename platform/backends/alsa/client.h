// This program at ALSA's sequencer: a client that has the ports, and a second one that only sends.
// The kernel does one thing at a time for a client, and joining a device or making a queue may take
// it long; whoever sends waits for none of that.
//
// Thread: any, but for what says otherwise. Prints nothing.
#pragma once

#include "platform/api/midi.h"
#include "platform/backends/alsa/time_stamps.h"

#include <memory>
#include <string>
#include <vector>

namespace machine {

// A port that a user would call a device.
struct FoundPort {
    Address Where;
    std::string Name; // whole
    bool In;          // it sends to us
    bool Out;
    bool Is(MidiWay way) const { return way == MidiWay::In ? In : Out; }
};

class SequencerClient {
public:
    // Null and the system's reason if there is no sequencer, or none for this user.
    static std::shared_ptr<SequencerClient> Open(std::string& reason);
    ~SequencerClient();
    SequencerClient(const SequencerClient&) = delete;
    SequencerClient& operator=(const SequencerClient&) = delete;

    std::vector<FoundPort> Ports();
    // Names of the other clients that a port is joined to.
    std::vector<std::string> Users(MidiWay way, Address port);

    // A port of our own, -1 if the system has none. Nobody else sees or joins it.
    int CreatePort(MidiWay way, const std::string& name);
    void DeletePort(MidiWay way, int port);
    MidiResult Join(MidiWay way, int port, Address device);
    bool Joined(MidiWay way, int port, Address device);

    // Takes no more than the kernel has room for. Done, Gone or Full. Real time.
    MidiResult Write(snd_seq_event_t& event);

    // Waits for something to read, until Wake or for so many milliseconds; -1 for ever.
    void Wait(int milliseconds);
    void Wake();
    // What comes next, which holds until the next call, null for nothing; lost: something has been
    // thrown away before it. Thread: one only. Real time.
    const snd_seq_event_t* Read(bool& lost);
    bool IsOurs(const snd_seq_addr_t& address) const { return address.client == Number; }

    InputClock& Clock() { return Times; }

private:
    struct Close {
        void operator()(snd_seq_t* client) const { snd_seq_close(client); }
    };
    using Handle = std::unique_ptr<snd_seq_t, Close>;

    SequencerClient(Handle ports, Handle outlet, int bell);
    static Handle OpenOne(int streams, std::string& reason);
    bool HearAnnouncements();

    const Handle Owner;
    const Handle Outlet;
    const int Number; // of the owner
    const int Bell;   // an event file
    InputClock Times;
};

} // namespace machine
