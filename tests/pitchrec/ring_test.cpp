// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The ring of note messages: capacity, order and use by several threads.
#include "pitchrec/note_ring.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using Sonorel::NoteRing;
using Sonorel::PackedMessage;

TEST(Ring, KeepsTheFirst128EntriesAndDropsTheNext) {
    NoteRing ring;
    std::int32_t time = 0;
    PackedMessage message = 0;
    // Several times, from different indices of the ring.
    for (std::int32_t round = 0; round < 5; ++round) {
        for (std::int32_t i = 0; i < 129; ++i)
            ring.PushNote(round * 1000 + i, static_cast<PackedMessage>(i));
        for (std::int32_t i = 0; i < 128; ++i) {
            ASSERT_TRUE(ring.PopNote(time, message));
            EXPECT_EQ(time, round * 1000 + i);
            EXPECT_EQ(message, static_cast<PackedMessage>(i));
        }
        EXPECT_FALSE(ring.PopNote(time, message));
        ring.PushNote(7, 7); // shifts the next round by one entry
        EXPECT_TRUE(ring.PopNote(time, message));
    }
}

// One producer and two consumers, like the capture, the poll and the dialog. Every entry is popped
// exactly once and unchanged, and each consumer gets ascending times.
TEST(Ring, LosesAndTearsNothingBetweenThreads) {
    constexpr std::int32_t Entries = 100000;
    NoteRing ring;
    std::atomic<std::int32_t> popped{0};
    std::atomic<std::int64_t> sum{0};
    const auto consume = [&] {
        std::int32_t last = -1;
        while (popped.load() < Entries) {
            std::int32_t time = 0;
            PackedMessage message = 0;
            if (!ring.PopNote(time, message)) {
                std::this_thread::yield();
                continue;
            }
            EXPECT_EQ(message, static_cast<PackedMessage>(time) * 3);
            EXPECT_GT(time, last);
            last = time;
            sum += time;
            ++popped;
        }
    };
    std::thread poll(consume);
    std::thread dialog(consume);
    for (std::int32_t i = 0; i < Entries;) {
        if (ring.Count() == NoteRing::Capacity) {
            std::this_thread::yield();
            continue;
        }
        ring.PushNote(i, static_cast<PackedMessage>(i) * 3);
        ++i;
    }
    poll.join();
    dialog.join();
    EXPECT_EQ(sum.load(), std::int64_t{Entries} * (Entries - 1) / 2);
    EXPECT_EQ(ring.Count(), 0u);
}

} // namespace
