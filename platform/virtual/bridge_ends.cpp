#include "platform/virtual/bridge_ends.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <unistd.h>

namespace machine {
namespace {

// How long a peer that has no room holds up the others on its cable, once.
constexpr std::chrono::milliseconds Patience{100};

FileDescriptor DatagramSocket() {
    return FileDescriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

const sockaddr* Generic(const SocketAddress& address) {
    return reinterpret_cast<const sockaddr*>(&address.Address);
}

} // namespace

FileDescriptor::~FileDescriptor() {
    if (Number >= 0) close(Number);
}

// ---- receiving ---------------------------------------------------------------------------------

std::unique_ptr<BridgeReceiver> BridgeReceiver::Make(MidiInputDevice& device,
                                                     const std::string& cable) {
    static std::atomic<unsigned> last{0};
    const std::string folder = BridgeFolder();
    if (folder.empty()) return nullptr;
    const auto address = BridgeAddress(folder, cable, ++last);
    FileDescriptor socket = DatagramSocket();
    if (!address || !socket.Valid()) return nullptr;
    unlink(address->Path()); // left by a process of the same number that was ended half-way
    if (bind(socket.Get(), Generic(*address), address->Length) != 0) return nullptr;
    return std::unique_ptr<BridgeReceiver>(new BridgeReceiver(device, std::move(socket), *address));
}

BridgeReceiver::~BridgeReceiver() { RemoveName(); }

void BridgeReceiver::RemoveName() const { unlink(Address.Path()); }

void BridgeReceiver::Drain() {
    BridgePacket packet;
    for (;;) {
        const ssize_t bytes = recv(Descriptor.Get(), &packet, sizeof packet, 0);
        if (bytes < 0) return;
        const auto words = static_cast<std::size_t>(bytes) / sizeof(std::uint32_t);
        if (words < 1 || packet.Head != BridgePacket::Mark) continue;
        for (std::size_t i = 0; i + 1 < words; ++i)
            SendToInput(Device, packet.Messages[i] & 0xFFFFFF, 0);
    }
}

// ---- sending -----------------------------------------------------------------------------------

std::unique_ptr<BridgeSender> BridgeSender::Make(const std::string& cable) {
    FileDescriptor socket = DatagramSocket();
    if (!socket.Valid() || BridgeFolder().empty()) return nullptr;
    std::unique_ptr<BridgeSender> sender(new BridgeSender(cable, std::move(socket)));
    sender->FindPeers();
    return sender;
}

BridgeSender::BridgeSender(std::string cable, FileDescriptor socket)
    : Cable(std::move(cable)), Descriptor(std::move(socket)) {}

bool BridgeSender::Put(std::uint32_t packed) {
    std::lock_guard lock(RingLock);
    if (Count == Ring.size()) return false;
    Ring[(Head + Count++) % Ring.size()] = packed;
    return true;
}

void BridgeSender::Take() {
    if (Filled > 0) return; // still has a packet in hand
    std::lock_guard lock(RingLock);
    for (; Count > 0 && Filled < BridgePacket::MostMessages; --Count) {
        Packet.Messages[Filled++] = Ring[Head];
        Head = (Head + 1) % Ring.size();
    }
    for (Peer& peer : Peers) peer.Served = false;
    GiveUp = std::chrono::steady_clock::now() + Patience;
}

void BridgeSender::FindPeers() {
    std::vector<Peer> found;
    for (const SocketAddress& address : BridgePeers(BridgeFolder(), Cable)) {
        const auto known = std::find_if(Peers.begin(), Peers.end(), [&](const Peer& peer) {
            return std::string_view(peer.Address.Path()) == address.Path();
        });
        found.push_back(known != Peers.end() ? *known : Peer{address, false, false, false});
    }
    Peers = std::move(found);
}

BridgeSender::State BridgeSender::Offer() {
    if (Filled == 0) return State::Idle;
    for (Peer& peer : Peers)
        if (!peer.Served) OfferTo(peer);
    std::erase_if(Peers, [](const Peer& peer) { return peer.Gone; });
    if (!AllServed() && std::chrono::steady_clock::now() < GiveUp) return State::PeersFull;
    for (Peer& peer : Peers) peer.Stalled = !peer.Served;
    Filled = 0;
    return State::MoreToTake;
}

void BridgeSender::OfferTo(Peer& peer) {
    const std::size_t bytes = sizeof Packet.Head + Filled * sizeof Packet.Messages[0];
    if (sendto(Descriptor.Get(), &Packet, bytes, MSG_NOSIGNAL, Generic(peer.Address),
               peer.Address.Length) >= 0) {
        peer.Served = true;
        peer.Stalled = false;
    } else if (errno == ECONNREFUSED || errno == ENOENT) {
        // Its process ended without taking its socket's name away.
        unlink(peer.Address.Path());
        peer.Gone = true;
    }
}

// Whether nobody is left to wait for: one that stalled before is not waited for again.
bool BridgeSender::AllServed() const {
    return std::all_of(Peers.begin(), Peers.end(),
                       [](const Peer& peer) { return peer.Served || peer.Stalled; });
}

} // namespace machine
