// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Playing MIDI files: what arrives at the ports, and what is recorded back.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <random>

namespace {

// Notes that never overlap on a key, among all other kinds of channel messages.
TrackEvents RandomTrack(unsigned seed, unsigned channel, int notes) {
    std::mt19937 random(seed);
    const auto pick = [&](unsigned below) { return static_cast<unsigned char>(random() % below); };
    const auto status = [&](unsigned kind) {
        return static_cast<unsigned char>(kind << 4 | channel);
    };
    TrackEvents track;
    int tick = 0;
    for (int i = 0; i < notes; ++i) {
        const unsigned char key = pick(128);
        track.push_back({tick, {status(9), key, static_cast<unsigned char>(1 + pick(127))}});
        const unsigned char other = 10 + pick(5); // controllers below 64 are plain numbers
        track.push_back({tick, {status(other), pick(64)}});
        if (other != 12 && other != 13) track.back().Message.push_back(pick(128));
        tick += 1 + pick(4);
        const bool off = pick(2);
        track.push_back({tick, {status(off ? 8 : 9), key, off ? pick(128) : pick(1)}});
        tick += pick(3);
    }
    return track;
}

TEST(Play, EveryMessageOfAFileLargerThanTheQueuesComesBackInOrder) {
    std::vector<TrackEvents> tracks = {{{0, Tempo(300000)}, {9000, Tempo(600000)}}};
    TrackEvents all;
    for (unsigned i = 0; i < 5; ++i) {
        tracks.push_back(RandomTrack(i, i * 3, 1600));
        all.insert(all.end(), tracks.back().begin(), tracks.back().end());
    }
    std::ranges::stable_sort(all, {}, &TimedMessage::Tick);
    EXPECT_GT(all.size(), 20000u);
    WriteMidi("large.mid", 960, tracks);
    const Result result = RunZorhost("play large.mid --tempo 800 --record copy.mid --report");
    EXPECT_EQ(result.Code, 0) << result.Output << result.Err;
    for (const char* line :
         {"  lost                                0\n", "  wrong                               0\n"})
        EXPECT_NE(result.Output.find(line), std::string::npos) << result.Output;
    const std::vector<TimedMessage> copy = ReadBack("copy.mid");
    ASSERT_EQ(Messages(copy), Messages(all));
    // Stored by the song's bar lines, where 1 ms is 26 ticks and later 13: none early, and half of
    // them no later than the median that is reported, which is large on a busy computer.
    const std::string_view label = "lateness, median";
    const int median = std::stoi(result.Output.substr(result.Output.find(label) + label.size()));
    int least = 0;
    std::size_t usual = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const int late = copy[i].Tick - all[i].Tick;
        least = std::min(least, late);
        usual += late <= (median + 2) * 26;
    }
    EXPECT_GE(least, -30);
    EXPECT_GE(usual, all.size() / 2);
    EXPECT_NE(ReadCsv("copy.mid").find("1, 0, Tempo, 37500\n"), std::string::npos);
    EXPECT_EQ(RunZorhost("play '" ZOR_PIECE "' --tempo 5000 --report").Code, 0);
}

TEST(Play, FollowsTheTempoMapAndReportsWhatIsSkipped) {
    // Two quarters at 0.1 s, two at 0.2 s: 0.6 s, at 200 percent 0.3.
    WriteMidi("tempi.mid", 96,
              {{{0, Tempo(100000)}, {192, Tempo(200000)}},
               {{0, {0xF0, 4, 0x7E, 0x7F, 9, 0xF7}}, {0, {0x90, 60, 1}}, {384, {0x90, 60, 0}}}});
    const Result result = RunZorhost("play tempi.mid --tempo 200 --record copy.mid");
    EXPECT_NE(result.Output.find("Played 2 messages, 0:00.3 long"), std::string::npos)
        << result.Output;
    EXPECT_NE(result.Err.find("1 system exclusive message is left out"), std::string::npos)
        << result.Err;
    // The recording has the song's tempo map, so no message is before its written tick.
    const std::vector<TimedMessage> events = ReadBack("copy.mid");
    ASSERT_EQ(events.size(), 2u);
    EXPECT_GE(events[1].Tick, 3840);
}

TEST(Play, FromABarSoundsAsIfPlayedFromTheBeginning) {
    // Bars of 4/4 at 96 ticks per quarter. Bar 3 begins at tick 768.
    const TrackEvents track = {
        {0, {0xB0, 0, 1}},    {0, {0xC0, 5}},        {0, {0xB0, 7, 50}},     {0, {0xB0, 101, 0}},
        {0, {0xB0, 100, 0}},  {0, {0xB0, 6, 12}},    {0, {0xE0, 0, 80}},     {10, {0x90, 40, 64}},
        {20, {0x80, 40, 0}},  {30, {0xB0, 0, 2}},    {40, {0xB0, 7, 90}},    {50, {0xB0, 64, 64}},
        {60, {0xB0, 123, 0}}, {70, {0xE0, 0, 70}},   {80, {0xB0, 101, 127}}, {90, {0x91, 50, 1}},
        {767, {0x81, 50, 0}}, {768, {0x90, 60, 64}}, {800, {0x80, 60, 0}}};
    WriteMidi("bars.mid", 96, {track});
    const Peer peer("Loopback MIDI 1");
    ASSERT_EQ(RunZorhost("play bars.mid --from 3 --tempo 1000 --record copy.mid").Code, 0);
    const std::vector<TimedMessage> events = ReadBack("copy.mid");
    const std::vector<Bytes> expected = {{0xB0, 0, 1},     {0xC0, 5},      {0xB0, 101, 0},
                                         {0xB0, 100, 0},   {0xB0, 6, 12},  {0xB0, 0, 2},
                                         {0xB0, 7, 90},    {0xB0, 64, 64}, {0xE0, 0, 70},
                                         {0xB0, 101, 127}, {0x90, 60, 64}, {0x90, 60, 0}};
    ASSERT_EQ(Messages(events), expected);
    EXPECT_TRUE(peer.Await(Packed(0xB0, 64, 0))); // pedal released, after the recording
    EXPECT_GE(events.front().Tick, 7680);         // the recording has the song's bars
}

TEST(Play, CtrlCLeavesNothingSoundingAndAWholeRecording) {
    TrackEvents track = {{0, {0xB3, 64, 127}}, {0, {0x93, 60, 90}}, {0, {0x93, 67, 90}}};
    for (int i = 1; i < 9000; ++i) track.push_back({i, {0xE3, 0, 70}});
    track.push_back({900000, {0x83, 60, 0}});
    WriteMidi("long.mid", 96, {track});
    const Peer peer("Loopback MIDI 1");
    Program play("play long.mid --record copy.mid");
    ASSERT_TRUE(peer.Await(Packed(0x93, 67, 90)));
    ASSERT_TRUE(peer.Await(Packed(0xE3, 0, 70)));
    play.Signal(SIGINT);
    EXPECT_EQ(play.Finish(), 0) << play.Err;
    const auto received =
        static_cast<std::size_t>(std::ranges::count(peer.Received(), Packed(0xE3, 0, 70)));
    std::size_t reported = 0;
    EXPECT_EQ(std::sscanf(play.Output.c_str(), "Stopped after %zu", &reported), 1) << play.Output;
    EXPECT_NEAR(reported, received + 3, 100); // not the queued ones
    for (const std::uint32_t end : {Packed(0x83, 60), Packed(0x83, 67), Packed(0xB3, 64, 0),
                                    Packed(0xB3, 123, 0), Packed(0xE3, 0, 64)})
        EXPECT_TRUE(peer.Await(end)) << std::hex << end;
    const std::vector<Bytes> recorded = Messages(ReadBack("copy.mid"));
    for (const Bytes& message : {Bytes{0x93, 60, 90}, Bytes{0x93, 60, 0}, Bytes{0x93, 67, 0}})
        EXPECT_EQ(std::ranges::count(recorded, message), 1);
}

TEST(Play, LoopedAndEditedOnSeveralOutputs) {
    // Two bars, of which the second is looped; a track and a channel are muted.
    WriteMidi("round.mid", 96,
              {{{0, {0x90, 40, 1}}, {384, {0x95, 60, 90}}},
               {{384, {0x90, 50, 1}}},
               {{384, {0x92, 51, 1}}, {500, {0x99, 35, 2}}}});
    for (const char* cable : {"Loopback MIDI 2", "Loopback MIDI 4"}) {
        const Peer peer(cable);
        Program play("play --to 4 --to 'MIDI 2' --loop 2-2 --tempo 1000 --transpose -12 "
                     "--mute t2,3 round.mid");
        std::vector<std::uint32_t> expected;
        for (int round = 0; round < 3; ++round) {
            for (const std::uint32_t message : {Packed(0x95, 48, 90), Packed(0x99, 35, 2),
                                                Packed(0x85, 48, 64), Packed(0x89, 35, 64)})
                expected.push_back(message); // ended by the loop's end
            ASSERT_TRUE(peer.Await(expected.back(), peer.Received().size())) << cable;
        }
        play.Signal(SIGINT);
        EXPECT_EQ(play.Finish(), 0);
        std::vector<std::uint32_t> notes = peer.Received();
        std::erase_if(notes, [](std::uint32_t message) { return (message & 0xF0) > 0x90; });
        notes.resize(expected.size());
        EXPECT_EQ(notes, expected);
    }
}

TEST(Play, ARecordingOfNothingLeavesAnOlderFileAlone) {
    WriteMidi("one.mid", 960, {{{0, {0x90, 60, 90}}, {10, {0x80, 60, 0}}}});
    std::ofstream("older.mid") << "older";
    const Result result = RunZorhost("play one.mid --to 'Loopback MIDI 2' --record older.mid");
    EXPECT_EQ(result.Code, 1);
    EXPECT_NE(result.Err.find("nothing came back"), std::string::npos) << result.Err;
    EXPECT_EQ(ReadText("older.mid"), "older");
}

} // namespace
