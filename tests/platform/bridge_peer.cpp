// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// bridge_peer CABLE [COUNT]: sends COUNT numbered messages and exits. Without COUNT
// prints "ready" and each message that arrives on a line of its own, until it is killed.
#include "tests/host/peer.h"

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments) {
    Peer peer(arguments[1]);
    for (int i = 0; count == 3 && i < std::atoi(arguments[2]); ++i)
        peer.Send(Packed(0xF2, i & 0x7F, i >> 7 & 0x7F));
    if (count == 3) return 0;
    std::puts("ready");
    for (std::size_t i = 0;; ++i) {
        std::fflush(stdout);
        std::printf("%X\n", peer.AwaitNumber(i));
    }
}
