// zorhost among other programs on the same cables: monitor, record, thru, clock, follow.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <regex>
#include <unistd.h>

namespace {

// Each line of the monitor without its time, once the last one has come.
std::vector<std::string> LinesAfterTime(const std::string& text) {
    std::vector<std::string> lines;
    static const std::regex line(R"( *\d+\.\d{3}  (.*)\n)");
    for (std::sregex_iterator match(text.begin(), text.end(), line), end; match != end; ++match) {
        lines.push_back((*match)[1]);
    }
    return lines;
}

TEST(Monitor, PrintsEachMessageInWords) {
    Peer peer("Loopback MIDI 1");
    Program monitor({"monitor"});
    ASSERT_TRUE(monitor.Await("Listening to Loopback MIDI 1"));
    const std::uint32_t sent[] = {
        Packed(0x90, 60, 100), Packed(0x8F, 0, 64), Packed(0xA1, 127, 3), Packed(0xB2, 7, 99),
        Packed(0xC3, 40),      Packed(0xD4, 55),    Packed(0xE5, 0, 64),  Packed(0xE5, 127, 127),
        Packed(0xF2, 1, 2),    Packed(0xF3, 9),     Packed(0xF6),         Packed(0xF8),
        Packed(0xFA),          Packed(0xFB),        Packed(0xFC)};
    for (const std::uint32_t message : sent) peer.Send(message);
    ASSERT_TRUE(monitor.Await("stop"));
    monitor.Signal(SIGINT);
    EXPECT_EQ(monitor.Finish(), 0);
    const std::string port = "Loopback MIDI 1       ";
    const std::vector<std::string> expected = {
        port + "ch   1  note on   C4   velocity 100",
        port + "ch  16  note off  C-1  velocity 64",
        port + "ch   2  pressure  G9   3",
        port + "ch   3  control   7    value 99  volume",
        port + "ch   4  program   41   Violin",
        port + "ch   5  pressure  55",
        port + "ch   6  bend      +0",
        port + "ch   6  bend      +8191",
        port + "        song position 257",
        port + "        song select 9",
        port + "        tune request",
        port + "        clock",
        port + "        start",
        port + "        continue",
        port + "        stop",
    };
    EXPECT_EQ(LinesAfterTime(monitor.Out), expected);
}

TEST(Monitor, NamesThePortsAndFiltersWhatItIsTold) {
    Peer peer("Loopback MIDI 3");
    Program monitor({"monitor", "--in", "2", "--in", "midi 3", "--filter", "bend,clock"});
    ASSERT_TRUE(monitor.Await("Listening to Loopback MIDI 2, Loopback MIDI 3"));
    for (const std::uint32_t message : {Packed(0xE0, 0, 1), Packed(0xF8), Packed(0x94, 61, 1)})
        peer.Send(message);
    EXPECT_TRUE(monitor.Await("Loopback MIDI 3       ch   5  note on   C#4  velocity 1\n"));
    EXPECT_EQ(LinesAfterTime(monitor.Out).size(), 1u) << monitor.Out;
}

TEST(Record, WhatAKilledOneTookIsKeptByTheNext) {
    const std::string copy = InFolder("killed.mid"), rescued = InFolder("killed.rescued.mid");
    Program record({"record", copy});
    ASSERT_TRUE(record.Await("Listening"));
    {
        Peer peer("Loopback MIDI 1");
        peer.Send(Packed(0x90, 60, 100));
        ASSERT_TRUE(peer.Await(Packed(0x90, 60, 100)));
    }
    ASSERT_TRUE(record.Await("1 notes"));
    record.Err.clear(); // two seconds from one line to the next
    ASSERT_TRUE(record.Await("1 notes"));
    EXPECT_EQ(ReadBack(InFolder("killed.part.mid")).size(), 1u);
    record.Signal(SIGKILL);
    record.Finish();
    const Result next = RunZorhost({"record", copy, "--seconds", "0.1"});
    EXPECT_NE(next.Err.find("is kept in \"" + rescued), std::string::npos) << next.Err;
    EXPECT_EQ(Messages(ReadBack(rescued)), (std::vector<Bytes>{{0x90, 60, 100}, {0x90, 60, 0}}));
    EXPECT_NE(access(InFolder("killed.part.mid").c_str(), F_OK), 0);
}

TEST(Record, WritesWhatCameInAndPlaysItThruByTheMap) {
    const std::string copy = InFolder("recorded.mid");
    Program record(
        {"record", "--thru", "Loopback MIDI 2", "--map", "1:10,3:4", "--filter", "control", copy});
    ASSERT_TRUE(record.Await("Listening"));
    const std::vector<std::uint32_t> played = {Packed(0x90, 60, 100), Packed(0xB0, 7, 5),
                                               Packed(0x92, 62, 90), Packed(0x93, 64, 80)};
    {
        Peer peer("Loopback MIDI 1");
        for (const std::uint32_t message : played) peer.Send(message);
        ASSERT_TRUE(peer.Await(played.back()));
    }
    // On the way out, the filter does not count; channels that no pair names stay.
    Peer heard("Loopback MIDI 2");
    {
        Program again({"play", WriteMidi("again.mid", 0, 960,
                                         {{{0, {0x90, 70, 1}},
                                           {1, {0xB2, 7, 5}},
                                           {2, {0x95, 71, 1}},
                                           {3, {0x80, 70, 0}},
                                           {4, {0x85, 71, 0}}}})});
        EXPECT_EQ(again.Finish(), 0);
    }
    for (const std::uint32_t message :
         {Packed(0x99, 70, 1), Packed(0xB3, 7, 5), Packed(0x95, 71, 1)}) {
        EXPECT_TRUE(heard.Await(message)) << std::hex << message;
    }
    record.Signal(SIGINT);
    EXPECT_EQ(record.Finish(), 0) << record.Err;
    const std::vector<Bytes> expected = {{0x90, 60, 100}, {0x92, 62, 90}, {0x93, 64, 80},
                                         {0x90, 70, 1},   {0x95, 71, 1},  {0x90, 70, 0},
                                         {0x95, 71, 0},   {0x90, 60, 0},  {0x92, 62, 0},
                                         {0x93, 64, 0}}; // those held end with the recording
    EXPECT_EQ(Messages(ReadBack(copy)), expected);
}

TEST(Clock, SendsStartTwentyFourAQuarterAndStop) {
    Peer peer("Loopback MIDI 1");
    // 500 quarters a minute: 200 clocks a second, 100 in half a second.
    EXPECT_EQ(RunZorhost({"clock", "500", "--seconds", "0.5"}).Code, 0);
    ASSERT_TRUE(peer.Await(Packed(0xFC)));
    std::vector<std::uint32_t> expected = {Packed(0xFA)};
    expected.insert(expected.end(), 100, Packed(0xF8));
    expected.push_back(Packed(0xFC));
    EXPECT_EQ(peer.Heard(), expected);
}

// A note on each of the first eight quarters, keys from 60 up; each ends as the next begins. All
// channels are in use, so that there is much to silence.
std::string Steps() {
    TrackEvents track;
    for (unsigned char i = 0; i < 16; ++i)
        track.push_back({0, {static_cast<unsigned char>(0xC0 | i), 9}});
    for (unsigned char i = 0; i < 8; ++i) {
        if (i) track.push_back({i * 96, {0x80, static_cast<unsigned char>(59 + i), 0}});
        track.push_back({i * 96, {0x90, static_cast<unsigned char>(60 + i), 100}});
    }
    track.push_back({8 * 96, {0x80, 67, 0}});
    return WriteMidi("steps.mid", 0, 96, {track});
}

void SendClocks(Peer& peer, int count) {
    for (int i = 0; i < count; ++i) peer.Send(Packed(0xF8));
}

bool Has(const std::vector<std::uint32_t>& messages, std::uint32_t wanted) {
    return std::find(messages.begin(), messages.end(), wanted) != messages.end();
}

TEST(Follow, GoesWhereTheClockIs) {
    Peer peer("Loopback MIDI 1");
    Program follow({"follow", Steps(), "--to", "Loopback MIDI 1"});
    ASSERT_TRUE(follow.Await("Waiting for Start and clock on Loopback MIDI 1"));

    peer.Send(Packed(0xFA));
    EXPECT_FALSE(Has(peer.Heard(), Packed(0x90, 60, 100)));
    SendClocks(peer, 1); // stands at the beginning
    ASSERT_TRUE(peer.Await(Packed(0x90, 60, 100)));
    SendClocks(peer, 23);
    EXPECT_FALSE(Has(peer.Heard(), Packed(0x90, 61, 100)));
    SendClocks(peer, 1); // one quarter on
    ASSERT_TRUE(peer.Await(Packed(0x90, 61, 100)));

    // Stop ends what sounds; the song position is in sixteenths. All that comes while the program
    // still silences comes together with what it sends: then the clock alone hears it.
    for (int round = 0; round < 21; ++round) {
        const unsigned key = round % 2 == 0 ? 65 : 63;
        const std::size_t stopped = peer.Heard().size();
        peer.Send(Packed(0xFC));
        ASSERT_TRUE(peer.Await(Packed(0xE0, 0, 64), stopped));
        follow.Signal(SIGSTOP);
        peer.Send(Packed(0xF2, (key - 60) * 4));
        peer.Send(Packed(0xFB));
        SendClocks(peer, 1);
        usleep(30'000); // longer than it waits between two messages
        follow.Signal(SIGCONT);
        ASSERT_TRUE(peer.Await(Packed(0x90, key, 100), stopped)) << "round " << round;
        ASSERT_TRUE(peer.Await(Packed(0xC0, 9), stopped));
    }
    for (const unsigned skipped : {62u, 64u}) {
        EXPECT_FALSE(Has(peer.Heard(), Packed(0x90, skipped, 100))) << skipped;
    }
    SendClocks(peer, 3 * 24);
    EXPECT_EQ(follow.Finish(), 0);
    EXPECT_NE(follow.Out.find("Played to the end"), std::string::npos);
}

TEST(Follow, AClockInAnotherTerminalWhichCtrlCStops) {
    Peer peer("Loopback MIDI 1");
    Program follow({"follow", Steps(), "--to", "1"});
    ASSERT_TRUE(follow.Await("Waiting"));
    Program clock({"clock", "500"});
    EXPECT_EQ(follow.Finish(), 0) << follow.Err;
    clock.Signal(SIGINT);
    EXPECT_EQ(clock.Finish(), 0);
    for (unsigned key = 60; key < 68; ++key) EXPECT_TRUE(peer.Await(Packed(0x90, key, 100))) << key;
    ASSERT_TRUE(peer.Await(Packed(0xFC)));
    EXPECT_EQ(peer.Heard().back(), Packed(0xFC));
}

} // namespace
