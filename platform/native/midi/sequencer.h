// This program's client of ALSA's sequencer.
//
// Thread: any, but for what says otherwise; none of it waits, and only opening prints or allocates
// more than moments' worth.
#pragma once

#include "platform/device/midi.h"
#include "platform/native/midi/input_clock.h"

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
    SequencerClient(snd_seq_t* handle, int bell);
    bool HearAnnouncements();

    snd_seq_t* const Handle;
    const int Number; // of the client
    const int Bell;   // an event file
    InputClock Times;
};

} // namespace machine
