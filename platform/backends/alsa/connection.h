// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A connection between a port of ours and the peer: the device's port, which comes and goes.
#pragma once

#include "platform/backends/alsa/client.h"

namespace device {

class Connection {
public:
    Connection(std::shared_ptr<SequencerClient> client, MidiDirection direction, Address peer)
        : Client(std::move(client)), Direction(direction), Peer(peer) {}

    // For the device (AlsaInput, AlsaOutput). Open creates our port and connects it: Done, InUse,
    // Gone or Failed.
    MidiResult Open(const std::string& name);
    void Close();

    // For the enumerator. PeerReturned reconnects an open connection; false if another program uses
    // the device exclusively, and a later call may succeed.
    bool PeerReturned(Address peer);
    void PeerLeft();
    // False if the kernel has dropped the connection of an open device.
    bool IsIntact();

    // Thread: any. Real time.
    Address PeerAddress() const { return Peer.load(std::memory_order_acquire); } // or NoAddress
    // The peer while connected to it, else NoAddress.
    Address ConnectedPeer() const { return Connected.load(std::memory_order_acquire); }
    int Port() const { return OurPort.load(std::memory_order_acquire); } // -1 while closed

    const std::shared_ptr<SequencerClient> Client;
    const MidiDirection Direction;

private:
    MidiResult Connect(); // with the lock held

    std::mutex Lock; // of changes to the next three; held while the kernel connects
    std::atomic<Address> Peer;
    std::atomic<Address> Connected{NoAddress};
    std::atomic<int> OurPort{-1};
};

} // namespace device
