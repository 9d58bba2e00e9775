// The memory that the programs on one cable share: a ring of the messages that were sent last. The
// first program makes it, the last one to leave gives it back.
//
// Sending takes one compare-and-exchange and never waits for another program. Nothing is ever half
// done: a message is there or it is not, so a program that is stopped or killed anywhere in a call
// harms no other. Every receiver keeps its own place, so a slow one holds nobody up either.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace machine {

class BridgeRing {
public:
    // As many messages wait for a receiver: more than a host's two output queues can hold, and a
    // minute of all that a MIDI wire can carry.
    static constexpr std::uint32_t Slots = 1u << 16;

    // Null if the memory cannot be had.
    static std::unique_ptr<BridgeRing> Join(const std::string& cable);
    BridgeRing(const BridgeRing&) = delete;
    BridgeRing& operator=(const BridgeRing&) = delete;
    ~BridgeRing();

    // For senders: any thread. Waits for nothing and allocates nothing.
    void Append(std::uint32_t message);

    // For receivers. Places count messages, and wrap.
    std::uint32_t End() const; // the place of the message that will be sent next
    // Waits for the message at the place, takes it and moves on. What has been written over by then
    // is left out. False as soon as it is to end; whoever sets that calls Wake.
    bool Await(std::uint32_t& place, std::uint32_t& message, const std::atomic<bool>& toEnd) const;
    void Wake();

private:
    struct Memory;
    bool Read(std::uint32_t& place, std::uint32_t& message) const;
    BridgeRing(std::string name, int file) : Name(std::move(name)), File(file) {}

    std::string Name;
    int File; // locked by each that uses the memory, so that the last one knows that it is
    Memory* Shared = nullptr;
};

} // namespace machine
