// The ring of note messages: what fits, in what order, and what two threads make of it.
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
    // Several times over, from different places in the ring.
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

// One producer and two consumers, as the capture against the poll and the dialog. Every entry that
// went in comes out once and whole, and each consumer sees its share in order.
TEST(Ring, LosesAndTearsNothingBetweenThreads) {
    constexpr std::int32_t Entries = 100000;
    NoteRing ring;
    std::atomic<std::int32_t> taken{0};
    std::atomic<std::int64_t> sum{0};
    const auto consume = [&] {
        std::int32_t last = -1;
        while (taken.load() < Entries) {
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
            ++taken;
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
