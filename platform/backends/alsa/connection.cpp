// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/alsa/connection.h"

namespace device {

MidiResult Connection::Open(const std::string& name) {
    const std::scoped_lock lock(Lock);
    if (Peer == NoAddress) return MidiResult::Gone;
    OurPort = Client->CreatePort(Direction, name);
    if (OurPort < 0) return MidiResult::Failed;
    const MidiResult result = Connect();
    if (result != MidiResult::Done) Client->DeletePort(Direction, OurPort.exchange(-1));
    return result;
}

void Connection::Close() {
    const std::scoped_lock lock(Lock);
    Connected = NoAddress;
    if (const int port = OurPort.exchange(-1); port >= 0) Client->DeletePort(Direction, port);
}

bool Connection::PeerReturned(Address peer) {
    const std::scoped_lock lock(Lock);
    Peer = peer;
    return OurPort < 0 || Connected == peer || Connect() == MidiResult::Done;
}

void Connection::PeerLeft() {
    const std::scoped_lock lock(Lock);
    Peer = Connected = NoAddress;
}

bool Connection::IsIntact() {
    const std::scoped_lock lock(Lock);
    return Connected == NoAddress || Client->IsConnected(Direction, OurPort, Connected);
}

MidiResult Connection::Connect() {
    const MidiResult result = Client->Connect(Direction, OurPort, Peer);
    if (result == MidiResult::Done) Connected = Peer.load();
    return result;
}

} // namespace device
