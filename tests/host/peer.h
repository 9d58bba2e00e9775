// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Another program connected to a loopback port: receives what zorhost sends, and sends to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A packed message: status, data 1, data 2 from the low byte up.
constexpr std::uint32_t Packed(unsigned status, unsigned data1 = 0, unsigned data2 = 0) {
    return status | data1 << 8 | data2 << 16;
}

// One at a time.
class Peer {
public:
    // Receives from cable; sends to target if it is given, else to cable.
    explicit Peer(const std::string& cable, const std::string& target = "");
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void Send(std::uint32_t packed) const;
    // Returns all messages received so far, its own included.
    std::vector<std::uint32_t> Received() const;
    // Waits for the message of that number, from 0. Returns 0 after a minute.
    std::uint32_t AwaitNumber(std::size_t number) const;
    // Waits until the message is received as number first or later. False after a minute.
    bool Await(std::uint32_t packed, std::size_t first = 0) const;
};
