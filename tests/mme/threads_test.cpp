// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Several threads use the ports at once.
#include "mme_test.h"

#include <map>
#include <random>
#include <thread>

namespace {

// Two threads play on overlapping ports while the host silences, closes and opens them.
TEST_F(MmeTest, CountsStayRightWithSeveralThreads) {
    OpenPorts({0, 8});
    std::atomic<int> playing{2}, refused{0};
    const auto play = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 200000; ++i) {
            const int status = random() % 2 ? 0x90 : 0x80;
            const int channel = static_cast<int>(random() % 24);
            refused += !Send(channel, status, static_cast<int>(random() % 4), 1);
        }
        --playing;
    };
    std::thread first(play, 1u), second(play, 2u);
    for (int turn = 1; playing > 0; ++turn) {
        if (turn % 8 == 0) {
            EXPECT_TRUE(MMESilence());
        }
        std::this_thread::yield();
        EXPECT_TRUE(MMEClose());
        EXPECT_TRUE(MMEOpen());
    }
    first.join();
    second.join();
    EXPECT_EQ(refused, 0); // a port that is being closed is no refusal

    // In the messages received, no key has more note offs than note ons, and the open notes are
    // those in the tables.
    std::map<std::pair<int, int>, int> sounding; // by device, and channel * 128 + key
    for (const machine::SentMidi& sent : machine::DrainSentMidi()) {
        if (sent.Reset) {
            std::erase_if(sounding,
                          [&](const auto& entry) { return entry.first.first == sent.Device; });
            continue;
        }
        const auto status = sent.Message & 0xF0, velocity = sent.Message >> 16 & 0xFF;
        const auto key = static_cast<int>((sent.Message & 0x0F) * 128 + (sent.Message >> 8 & 0x7F));
        int& count = sounding[{sent.Device, key}];
        count += status == 0x90 && velocity != 0 ? 1 : -1;
        ASSERT_GE(count, 0);
    }
    for (int row = 0; row < 2; ++row)
        for (int key = 0; key < 2048; ++key)
            ASSERT_EQ(OutPorts[row].NoteCounts[key], (sounding[{row, key}]));
}

} // namespace
