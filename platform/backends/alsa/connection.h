// The way between a port of ours and the device at its far end, which comes and goes.
#pragma once

#include "platform/backends/alsa/client.h"

namespace machine {

class Line {
public:
    Line(std::shared_ptr<SequencerClient> client, MidiWay way, Address device)
        : Client(std::move(client)), Way(way), Device(device) {}

    // Whoever opens and closes the device.
    MidiResult Open(const std::string& name);
    void Close();

    // Whoever finds devices. Come gives whether it can be used again: not if it is open here and
    // another program has taken it meanwhile.
    bool Come(Address device);
    void Go();
    Address Where() const { return Device.load(std::memory_order_acquire); }
    // Whether it is joined, if it should be; known from the kernel.
    bool Holds();

    // Real time. Nowhere and -1 while there is none.
    Address Far() const { return JoinedTo.load(std::memory_order_acquire); }
    int Port() const { return OurPort.load(std::memory_order_acquire); }

    const std::shared_ptr<SequencerClient> Client;
    const MidiWay Way;

private:
    MidiResult Join(); // locked

    std::mutex Lock; // of changing any of these; held while the kernel joins
    std::atomic<Address> Device;
    std::atomic<Address> JoinedTo{Nowhere};
    std::atomic<int> OurPort{-1};
};

} // namespace machine
