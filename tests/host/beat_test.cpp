// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Recording with a metronome or over a song: notes are stored at the beats where they were played.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>

namespace {

// Plays a controller and a note on channel 6, key 40 and up, with each note received.
void PlayAlong(const Peer& peer, std::size_t notes) {
    unsigned key = 40;
    for (std::size_t i = 0; key < 40 + notes; ++i) {
        const std::uint32_t message = peer.AwaitNumber(i);
        if (message == 0) FAIL() << "received " << key - 40 << " notes of " << notes;
        if ((message & 0xF0) != 0x90 || message >> 16 == 0) continue;
        peer.Send(Packed(0xB5, 1, key));
        peer.Send(Packed(0x95, key++, 70));
    }
}

// Returns the ticks of the messages of a status, by their first data byte.
std::multimap<int, int> TicksByKey(const std::string& path, int status) {
    std::multimap<int, int> ticks;
    for (const TimedMessage& event : ReadBack(path))
        if (event.Message[0] == status) ticks.emplace(event.Message[1], event.Tick);
    return ticks;
}

// Expects a note for each beat: none early, in their order, and at least one within soon ticks,
// since even a busy computer is not late with all of them.
void ExpectBeats(const std::multimap<int, int>& ons, int first, int count, int soon) {
    int least = 960, before = -960;
    ASSERT_EQ(ons.size(), static_cast<std::size_t>(count));
    for (int beat = 0; beat < count; ++beat) {
        const auto on = ons.find(first + beat);
        ASSERT_NE(on, ons.end());
        const int late = on->second - beat * 960;
        EXPECT_GE(late, -6) << beat;
        EXPECT_GT(on->second, before) << beat;
        before = on->second;
        least = std::min(least, late);
    }
    EXPECT_LT(least, soon);
}

TEST(Record, WithAClickStoresNotesAtTheBeats) {
    const Peer peer("Loopback MIDI 2", "Loopback MIDI 1");
    Program record("record clicked.mid --click 160 3 --to 2 --seconds 1.3");
    PlayAlong(peer, 7);
    EXPECT_EQ(record.Finish(), 0) << record.Err;
    // Beats of 375 ms. A note played 0.5 s early, in the count-in, is stored at the first beat.
    std::multimap<int, int> ons = TicksByKey("clicked.mid", 0x95),
                            ends = TicksByKey("clicked.mid", 0x85);
    EXPECT_LT(ons.find(42)->second, 480);
    ons.erase(42);
    ExpectBeats(ons, 43, 4, 200);
    ASSERT_EQ(ends.size(), 5u);
    EXPECT_GE(ends.begin()->second, 3328);      // 1.3 s
    EXPECT_LT(ends.rbegin()->second, 2 * 3328); // a busy computer stops late
    EXPECT_EQ(TicksByKey("clicked.mid", 0xB5).size(), 7u)
        << "controllers are kept from the count-in, too";
    const std::string csv = ReadCsv("clicked.mid");
    for (const char* line : {"Tempo, 375000\n", "Time_signature, 3, 2,"})
        EXPECT_NE(csv.find(line), std::string::npos) << csv;
    std::vector<std::uint32_t> clicks = peer.Received();
    ASSERT_GE(clicks.size(), 8u);
    clicks.resize(8);
    for (std::size_t i = 0; i < 8; ++i) {
        const bool first = i / 2 % 3 == 0;
        const unsigned velocity = i % 2 ? 0 : first ? 110 : 80;
        EXPECT_EQ(clicks[i], Packed(0x99, first ? 76 : 77, velocity)) << i;
    }
}

// 3/4 at 300, and from the second bar 2/4 at 150; the last note has no note off.
TEST(Record, OverASongStoresNotesAtItsBeats) {
    const std::vector<TrackEvents> under = {{{0, Tempo(200000)},
                                             {0, {0xFF, 0x58, 4, 3, 2, 24, 8}},
                                             {288, Tempo(400000)},
                                             {288, {0xFF, 0x58, 4, 2, 2, 24, 8}}},
                                            {{0, {0x92, 50, 1}},
                                             {96, {0x92, 51, 1}},
                                             {192, {0x92, 52, 1}},
                                             {288, {0x92, 53, 1}},
                                             {384, {0x92, 54, 1}}}};
    WriteMidi("under.mid", 96, under);
    const Peer peer("Loopback MIDI 2", "Loopback MIDI 1");
    Program record("record over.mid --overdub under.mid --to 2 --seconds 1.2");
    PlayAlong(peer, 5);
    EXPECT_EQ(record.Finish(), 0) << record.Err;
    EXPECT_NE(record.Output.find("5 notes, 10 messages"), std::string::npos) << record.Output;
    ExpectBeats(TicksByKey("over.mid", 0x95), 40, 5, 400);
    EXPECT_EQ(TicksByKey("over.mid", 0x92),
              (std::multimap<int, int>{{50, 0}, {51, 960}, {52, 1920}, {53, 2880}, {54, 3840}}));
    const std::string csv = ReadCsv("over.mid");
    for (const char* line : {"1, 0, Tempo, 200000\n", "1, 2880, Tempo, 400000\n",
                             "1, 0, Time_signature, 3, 2,", "1, 2880, Time_signature, 2, 2,"})
        EXPECT_NE(csv.find(line), std::string::npos) << csv;
    EXPECT_EQ(csv.find("2, 2880, Tempo"), std::string::npos) << csv;
    EXPECT_TRUE(peer.Await(Packed(0x82, 54)));
}

} // namespace
