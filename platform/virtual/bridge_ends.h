// The two ends of a cable between processes. But for Send, an end belongs to the bridge's thread
// and to whoever makes and destroys it, who agree by the bridge's lock.
#pragma once

#include "platform/virtual/bridge_folder.h"
#include "platform/virtual/midi_devices.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace machine {

// What travels: up to so many messages in one datagram, behind a mark that tells them from others'.
struct BridgePacket {
    static constexpr std::uint32_t Mark = 0x31424D5A; // "ZMB1"
    static constexpr std::size_t MostMessages = 255;
    std::uint32_t Head = Mark;
    std::array<std::uint32_t, MostMessages> Messages{};
};

class FileDescriptor {
public:
    explicit FileDescriptor(int number = -1) : Number(number) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor(FileDescriptor&& other) noexcept : Number(other.Number) { other.Number = -1; }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(Number, other.Number);
        return *this;
    }
    ~FileDescriptor();
    int Get() const { return Number; }
    bool Valid() const { return Number >= 0; }

private:
    int Number;
};

// A receiving socket for one input device.
class BridgeReceiver {
public:
    // Null if the socket cannot be made.
    static std::unique_ptr<BridgeReceiver> Make(MidiInputDevice& device, const std::string& cable);
    BridgeReceiver(const BridgeReceiver&) = delete;
    BridgeReceiver& operator=(const BridgeReceiver&) = delete;
    ~BridgeReceiver();
    int Socket() const { return Descriptor.Get(); }
    void Drain();            // hands on whatever has come
    void RemoveName() const; // nobody new finds it from now on

private:
    BridgeReceiver(MidiInputDevice& device, FileDescriptor socket, SocketAddress address)
        : Device(device), Descriptor(std::move(socket)), Address(address) {}
    MidiInputDevice& Device;
    FileDescriptor Descriptor;
    SocketAddress Address;
};

// The sending end of one output device: a ring that its thread empties into the peers' sockets.
class BridgeSender {
public:
    static std::unique_ptr<BridgeSender> Make(const std::string& cable);
    BridgeSender(const BridgeSender&) = delete;
    BridgeSender& operator=(const BridgeSender&) = delete;

    // Any thread; waits for nothing and allocates nothing. False if the ring is full.
    bool Put(std::uint32_t packed);

    // In this order: messages are taken first, so that a peer that was there before they were sent
    // is certain to be found.
    void Take();
    void FindPeers();
    enum class State { Idle, MoreToTake, PeersFull };
    State Offer();

private:
    explicit BridgeSender(std::string cable, FileDescriptor socket);
    struct Peer {
        SocketAddress Address;
        bool Served;  // has the packet in hand
        bool Stalled; // did not take its last packet in time
        bool Gone;
    };
    void OfferTo(Peer& peer);
    bool AllServed() const;

    std::string Cable;
    FileDescriptor Descriptor;
    std::vector<Peer> Peers;
    BridgePacket Packet; // in hand, with Filled messages
    std::size_t Filled = 0;
    std::chrono::steady_clock::time_point GiveUp{};

    std::mutex RingLock;
    std::array<std::uint32_t, 1 << 14> Ring{};
    std::size_t Head = 0, Count = 0;
};

} // namespace machine
