// A MIDI file through the library and back into a MIDI file.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <random>

namespace {

// Notes that never overlap on a key, amid every other kind of channel message.
TrackEvents RandomTrack(unsigned seed, int channel, int notes) {
    std::mt19937 random(seed);
    const auto pick = [&](int below) {
        return static_cast<unsigned char>(random() % static_cast<unsigned>(below));
    };
    const auto status = [&](int kind) { return static_cast<unsigned char>(kind | channel); };
    TrackEvents track;
    int tick = 0;
    for (int i = 0; i < notes; ++i) {
        const unsigned char key = pick(128), velocity = static_cast<unsigned char>(1 + pick(127));
        const Bytes others[] = {{status(0xA0), key, pick(128)},
                                {status(0xB0), pick(64), pick(128)},
                                {status(0xC0), pick(128)},
                                {status(0xD0), pick(128)},
                                {status(0xE0), pick(128), pick(128)}};
        track.push_back({tick, {status(0x90), key, velocity}});
        if (const int other = pick(6); other < 5) track.push_back({tick, others[other]});
        tick += 1 + pick(4);
        const bool off = pick(2);
        track.push_back({tick, {status(off ? 0x80 : 0x90), key, off ? pick(128) : pick(1)}});
        tick += pick(3);
    }
    return track;
}

std::vector<Bytes> MergedMessages(const std::vector<TrackEvents>& tracks) {
    std::vector<TimedMessage> all;
    for (const TrackEvents& track : tracks) all.insert(all.end(), track.begin(), track.end());
    std::stable_sort(all.begin(), all.end(),
                     [](const TimedMessage& a, const TimedMessage& b) { return a.Tick < b.Tick; });
    std::erase_if(all, [](const TimedMessage& event) { return event.Message[0] >= 0xF0; });
    return Messages(all);
}

TEST(Play, EveryMessageOfAFileLargerThanTheQueuesComesBackInOrder) {
    for (const int format : {0, 1}) {
        std::vector<TrackEvents> tracks;
        if (format == 1) tracks.push_back({{0, Tempo(300000)}, {9000, Tempo(600000)}});
        const int channels = format == 1 ? 5 : 1;
        for (int i = 0; i < channels; ++i) {
            tracks.push_back(RandomTrack(static_cast<unsigned>(i), i * 3, 8000 / channels));
        }
        const std::string piece = WriteMidi("large.mid", format, 960, tracks);
        const std::string copy = InFolder("large-copy.mid");
        const Result result =
            RunZorhost({"play", piece, "--tempo", "800", "--record", copy, "--report"});
        EXPECT_EQ(result.Code, 0) << result.Out << result.Err;
        EXPECT_NE(result.Out.find("  lost                                0\n"), std::string::npos);
        EXPECT_NE(result.Out.find("  wrong                               0\n"), std::string::npos);
        const std::vector<Bytes> sent = MergedMessages(tracks);
        EXPECT_GT(sent.size(), 20000u);
        EXPECT_EQ(Messages(ReadBack(copy)), sent) << "type " << format;
    }
    EXPECT_EQ(RunZorhost({"play", ZOR_PIECE, "--tempo", "5000", "--report"}).Code, 0);
}

TEST(Play, FollowsTheTempoMapAndTellsWhatIsLeftOut) {
    // Two quarters at 0.1 s, two at 0.2 s: 0.6 s, at 200 percent 0.3.
    const std::string piece = WriteMidi(
        "tempi.mid", 1, 96,
        {{{0, Tempo(100000)}, {192, Tempo(200000)}},
         {{0, {0xF0, 4, 0x7E, 0x7F, 9, 0xF7}}, {0, {0x90, 60, 1}}, {384, {0x90, 60, 0}}}});
    const std::string copy = InFolder("tempi-copy.mid");
    const Result result = RunZorhost({"play", piece, "--tempo", "200", "--record", copy});
    EXPECT_NE(result.Out.find("Played 2 messages, 0:00.3 long"), std::string::npos) << result.Out;
    EXPECT_NE(result.Err.find("1 system exclusive message is left out"), std::string::npos)
        << result.Err;
    // The recording has the piece's bar lines, so nothing stands before its written place.
    int quarter = 0;
    const std::vector<TimedMessage> events = ReadBack(copy, &quarter);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(quarter, 960);
    EXPECT_GE(events[0].Tick, 0);
    EXPECT_GE(events[1].Tick, 3840);
}

TEST(Play, FromABarSoundsAsIfPlayedFromTheBeginning) {
    // Bars of 4/4 at 96 ticks a quarter. Bar 3 begins at tick 768.
    const TrackEvents track = {
        {0, {0xB0, 0, 1}},    {0, {0xC0, 5}},        {0, {0xB0, 7, 50}},     {0, {0xB0, 101, 0}},
        {0, {0xB0, 100, 0}},  {0, {0xB0, 6, 12}},    {0, {0xE0, 0, 80}},     {10, {0x90, 40, 64}},
        {20, {0x80, 40, 0}},  {30, {0xB0, 0, 2}},    {40, {0xB0, 7, 90}},    {50, {0xB0, 64, 127}},
        {60, {0xB0, 123, 0}}, {70, {0xE0, 0, 70}},   {80, {0xB0, 101, 127}}, {90, {0x91, 50, 1}},
        {767, {0x81, 50, 0}}, {768, {0x90, 60, 64}}, {800, {0x80, 60, 0}}};
    const std::string piece = WriteMidi("bars.mid", 0, 96, {track});
    const std::string copy = InFolder("bars-copy.mid");
    ASSERT_EQ(RunZorhost({"play", piece, "--from", "3", "--tempo", "1000", "--record", copy}).Code,
              0);
    const std::vector<TimedMessage> events = ReadBack(copy);
    const std::vector<Bytes> expected = {{0xB0, 0, 1},     {0xC0, 5},       {0xB0, 101, 0},
                                         {0xB0, 100, 0},   {0xB0, 6, 12},   {0xB0, 0, 2},
                                         {0xB0, 7, 90},    {0xB0, 64, 127}, {0xE0, 0, 70},
                                         {0xB0, 101, 127}, {0x90, 60, 64},  {0x90, 60, 0}};
    // What still sounds at the end is released after the recording: the pedal is not in it.
    EXPECT_EQ(Messages(events), expected);
    ASSERT_FALSE(events.empty());
    EXPECT_GE(events.front().Tick, 7680); // the recording's bars are the piece's
}

TEST(Play, CtrlCLeavesNothingSoundingAndAWholeRecording) {
    TrackEvents track = {{0, {0xB3, 64, 127}}, {0, {0x93, 60, 90}}, {0, {0x93, 67, 90}}};
    for (int i = 1; i < 9000; ++i) track.push_back({i, {0xE3, 0, 70}});
    track.push_back({900000, {0x83, 60, 0}});
    const std::string piece = WriteMidi("long.mid", 0, 96, {track});
    const std::string copy = InFolder("long-copy.mid");
    const Peer peer("Loopback MIDI 1");
    Program play({"play", piece, "--record", copy});
    ASSERT_TRUE(peer.Await(Packed(0x93, 67, 90)));
    ASSERT_TRUE(peer.Await(Packed(0xE3, 0, 70)));
    play.Signal(SIGINT);
    EXPECT_EQ(play.Finish(), 0) << play.Err;
    EXPECT_NE(play.Out.find("Stopped after"), std::string::npos) << play.Out;
    for (const std::uint32_t end : {Packed(0x83, 60), Packed(0x83, 67), Packed(0xB3, 64, 0),
                                    Packed(0xB3, 123, 0), Packed(0xE3, 0, 64)}) {
        EXPECT_TRUE(peer.Await(end)) << std::hex << end;
    }
    const std::vector<Bytes> recorded = Messages(ReadBack(copy));
    for (const Bytes& message : {Bytes{0x93, 60, 90}, Bytes{0x93, 60, 0}, Bytes{0x93, 67, 0}}) {
        EXPECT_NE(std::find(recorded.begin(), recorded.end(), message), recorded.end());
    }
}

TEST(Play, ChangedRoundAndRoundOnSeveralOutputs) {
    // Two bars, of which the second goes round; a track and a channel that are not heard.
    const std::string piece = WriteMidi("round.mid", 1, 96,
                                        {{{0, {0x90, 40, 1}}, {384, {0x95, 60, 90}}},
                                         {{384, {0x90, 50, 1}}},
                                         {{384, {0x92, 51, 1}}, {500, {0x99, 35, 2}}}});
    for (const char* cable : {"Loopback MIDI 2", "Loopback MIDI 4"}) {
        const Peer peer(cable);
        Program play({"play", "--to", "2", "--to", "MIDI 4", "--loop", "2-2", "--tempo", "1000",
                      "--transpose", "-12", "--mute", "t2,3", piece});
        for (int round = 0; round < 3; ++round) {
            const std::size_t from = peer.Heard().size();
            ASSERT_TRUE(peer.Await(Packed(0x95, 48, 90), from)) << cable;
            ASSERT_TRUE(peer.Await(Packed(0x99, 35, 2), from));
            ASSERT_TRUE(peer.Await(Packed(0x85, 48, 64), from)); // the loop's end is its end
        }
        play.Signal(SIGINT);
        EXPECT_EQ(play.Finish(), 0);
        for (const std::uint32_t muted :
             {Packed(0x90, 28, 1), Packed(0x90, 38, 1), Packed(0x92, 39, 1)})
            EXPECT_EQ(std::ranges::count(peer.Heard(), muted), 0);
    }
}

TEST(Play, ARecordingOfNothingLeavesAnOlderFileAlone) {
    const std::string piece =
        WriteMidi("one.mid", 0, 960, {{{0, {0x90, 60, 90}}, {10, {0x80, 60, 0}}}});
    const std::string copy = InFolder("older.mid");
    std::ofstream(copy) << "older";
    const Result result = RunZorhost({"play", piece, "--to", "Loopback MIDI 2", "--record", copy});
    EXPECT_EQ(result.Code, 1);
    EXPECT_NE(result.Err.find("nothing came back"), std::string::npos) << result.Err;
    EXPECT_EQ(ReadText(copy), "older");
}

} // namespace
