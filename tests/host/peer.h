// Another program on a loopback port's cable: hears what zorhost sends there and sends to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A message as it travels: status, data 1, data 2 from the low byte up.
constexpr std::uint32_t Packed(unsigned status, unsigned data1 = 0, unsigned data2 = 0) {
    return status | data1 << 8 | data2 << 16;
}

// One at a time.
class Peer {
public:
    // Sends to the second cable if there is one.
    explicit Peer(const std::string& cable, const std::string& target = "");
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void Send(std::uint32_t packed) const;
    // What has come so far, its own messages too.
    std::vector<std::uint32_t> Heard() const;
    // Waits for the first, second... that comes, from 0. Gives 0 if it never does.
    std::uint32_t At(std::size_t number) const;
    // Waits until the message has come, after the first from messages. False if it never does.
    bool Await(std::uint32_t packed, std::size_t from = 0) const;
};
