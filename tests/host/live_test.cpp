// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost with other programs on the same ports: monitor, record, thru, clock, follow.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <unistd.h>

namespace {

TEST(Monitor, PrintsEachMessageInWordsButForThoseFilteredOut) {
    Peer peer("Loopback MIDI 3");
    Program monitor("monitor --in 2 --in 'midi 3' --filter polypressure,clock");
    ASSERT_TRUE(monitor.Await("Listening to Loopback MIDI 2, Loopback MIDI 3"));
    // With most kinds filtered out, on a narrow terminal with colours.
    Program other("monitor --in 3 --filter notes,control,bend,transport,songposition,tune", 60);
    ASSERT_TRUE(other.Await("Listening"));
    for (const std::uint32_t message :
         {Packed(0x90, 60, 100), Packed(0x8F, 0, 64), Packed(0xA1, 127, 3), Packed(0xB2, 7, 99),
          Packed(0xC3, 104), Packed(0xD4, 55), Packed(0xE5, 0, 64), Packed(0xE5, 127, 127),
          Packed(0xF2, 1, 2), Packed(0xF3, 9), Packed(0xF6), Packed(0xFC), Packed(0xFA),
          Packed(0xFB), Packed(0xF8)})
        peer.Send(message);
    ASSERT_TRUE(monitor.Await("continue"));
    ASSERT_TRUE(other.Await("\033[2mclock\033[0m\r\n"));
    EXPECT_EQ(other.Output.find("\033[2mstop"), std::string::npos);
    EXPECT_NE(other.Output.find(" ch   4 \033[35mprogram   105  Sitar\033[0m\r\n"),
              std::string::npos);
    monitor.Signal(SIGINT);
    EXPECT_EQ(monitor.Finish(), 0);
    std::string expected;
    for (const char* words :
         {"ch   1  note on   C4   velocity 100", "ch  16  note off  C-1  velocity 64",
          "ch   3  control   7    value 99  volume", "ch   4  program   105  Sitar",
          "ch   5  pressure  55", "ch   6  bend      +0", "ch   6  bend      +8191",
          "        song position 257", "        song select 9", "        tune request",
          "        stop", "        start", "        continue"})
        expected += std::string("Loopback MIDI 3       ") + words + "\n";
    EXPECT_EQ(std::regex_replace(monitor.Output, std::regex(R"( *\d+\.\d{3}  )"), ""), expected);
}

// Its output is read only after Ctrl-C.
TEST(Monitor, CtrlCWhileItWritesLosesNoLine) {
    Peer peer("Loopback MIDI 2");
    Program monitor("monitor --in 2");
    ASSERT_TRUE(monitor.Await("Listening"));
    for (unsigned i = 0; i < 3000; ++i) peer.Send(Packed(0x90, i % 128, 1 + i % 127));
    usleep(500'000);
    monitor.Signal(SIGINT);
    EXPECT_EQ(monitor.Finish(), 0) << monitor.Err;
    EXPECT_GT(std::ranges::count(monitor.Output, '\n'), 1000);
}

// The main thread must not poll, although the library's timer runs 250 times per second.
TEST(Monitor, SleepsUntilSomethingComesIn) {
    using Clock = std::chrono::steady_clock;
    Peer peer("Loopback MIDI 2");
    Program monitor("monitor --in 2");
    ASSERT_TRUE(monitor.Await("Listening"));
    const int before = monitor.Sleeps();
    const Clock::time_point begin = Clock::now();
    sleep(2);
    const int slept = monitor.Sleeps() - before;
    const std::chrono::duration<double> seconds = Clock::now() - begin;
    EXPECT_LE(slept, 10 * seconds.count());
    peer.Send(Packed(0x90, 60, 100));
    EXPECT_TRUE(monitor.Await("C4"));
}

TEST(Record, RestoresTheTakeOfAKilledProcess) {
    std::ofstream("killed.rescued.mid") << "older";
    WriteMidi("mine.part.mid", 96, {{{0, {0x90, 60, 1}}}});
    Program record("record killed.mid --in 1 --in 2"), live("record live.mid");
    ASSERT_TRUE(record.Await("Listening") && live.Await("Listening"));
    for (const char* cable : {"Loopback MIDI 1", "Loopback MIDI 2"}) {
        Peer peer(cable);
        peer.Send(Packed(0x90, 60, 100));
        ASSERT_TRUE(peer.Await(Packed(0x90, 60, 100)));
    }
    ASSERT_TRUE(record.Await("2 notes"));
    record.Err.clear(); // the next line is printed two seconds later
    ASSERT_TRUE(record.Await("2 notes"));
    EXPECT_EQ(ReadBack("killed.part.mid").size(), 2u);
    record.Signal(SIGKILL);
    record.Finish();
    ASSERT_TRUE(live.Await("1 note, 1 message"));
    const Result next = RunZorhost("record killed.mid --seconds 0.1");
    EXPECT_NE(next.Err.find("was rescued to \""), std::string::npos) << next.Err;
    EXPECT_EQ(Messages(ReadBack("killed.rescued-2.mid")),
              (std::vector<Bytes>{{0x90, 60, 100}, {0x90, 60, 0}, {0x90, 60, 100}, {0x90, 60, 0}}));
    // The second input's notes are on a third track, after the bar lines and the first input's.
    EXPECT_NE(ReadCsv("killed.rescued-2.mid").find("\n3, 0, Start_track"), std::string::npos);
    EXPECT_NE(access("killed.part.mid", F_OK), 0);
    EXPECT_EQ(ReadText("killed.rescued.mid"), "older");
    EXPECT_EQ(access("mine.part.mid", F_OK), 0) << "not one of ours";
    // The running recording is not touched, and no other process may record to its file.
    EXPECT_EQ(next.Err.find("live"), std::string::npos) << next.Err;
    const Result second = RunZorhost("record live.mid --seconds 0.1");
    EXPECT_EQ(second.Code, 1);
    EXPECT_NE(second.Err.find("another zorhost is recording"), std::string::npos) << second.Err;
    live.Signal(SIGINT);
    EXPECT_EQ(live.Finish(), 0) << live.Err;
    EXPECT_EQ(Messages(ReadBack("live.mid")).size(), 2u);
}

// Plays many short notes to a recording, after a first one that is saved.
void PlayTo(Program& record, const std::string& journal, unsigned limit = 0) {
    Peer peer("Loopback MIDI 1");
    for (const unsigned velocity : {100, 0}) peer.Send(Packed(0x90, 99, velocity));
    while (ReadText(journal).find("\x90\x63\x64") == std::string::npos) usleep(10'000);
    record.LimitFiles(limit);
    for (unsigned i = 0; i < 99; ++i)
        for (const unsigned velocity : {100, 0}) peer.Send(Packed(0x90, i, velocity));
    ASSERT_TRUE(record.Await("100 notes, 200 messages"));
}

// Nothing is lost if there is space again at the end, else only what could not be saved. The older
// file stays.
TEST(Record, OnAFullDisk) {
    for (const bool room : {true, false}) {
        std::ofstream("full.mid") << "older";
        Program record("record full.mid");
        ASSERT_TRUE(record.Await("Listening"));
        PlayTo(record, "full.part.mid", 200);
        ASSERT_TRUE(record.Await("The disk is full"));
        EXPECT_EQ(ReadText("full.mid"), "older");
        if (room) record.LimitFiles(0);
        record.Signal(SIGINT);
        EXPECT_EQ(record.Finish(), room ? 0 : 1) << record.Err;
        if (room) {
            EXPECT_EQ(ReadBack("full.mid").size(), 200u);
        }
        EXPECT_EQ(access("full.part.mid", F_OK) == 0, !room);
        EXPECT_EQ(record.Err.find("only its beginning is in") == std::string::npos, room);
    }
    EXPECT_EQ(ReadText("full.mid"), "older");
    EXPECT_EQ(RunZorhost("record full.mid --seconds 0.1").Code, 1);
    EXPECT_EQ(Messages(ReadBack("full.rescued.mid")),
              (std::vector<Bytes>{{0x90, 99, 100}, {0x90, 99, 0}}));
}

// The folder disappears, as when a USB stick is pulled out: the take is saved elsewhere.
TEST(Record, IsSavedElsewhereIfItsFolderDisappears) {
    std::filesystem::create_directory("stick");
    Program record("record stick/gone.mid");
    ASSERT_TRUE(record.Await("Listening"));
    PlayTo(record, "stick/gone.part.mid");
    std::filesystem::remove_all("stick");
    record.Signal(SIGINT);
    EXPECT_EQ(record.Finish(), 1);
    EXPECT_NE(record.Err.find("/temporary/gone.mid\""), std::string::npos) << record.Err;
    EXPECT_EQ(ReadBack("temporary/gone.mid").size(), 200u);
}

TEST(Record, WritesInputAndPlaysItThruWithTheMap) {
    Program record("record --thru 'Loopback MIDI 2' --map 1:10,3:4 --filter control recorded.mid");
    ASSERT_TRUE(record.Await("Listening"));
    const std::vector<std::uint32_t> played = {Packed(0x90, 60, 100), Packed(0xB0, 7, 5),
                                               Packed(0x92, 62, 90),  Packed(0x90, 64, 0),
                                               Packed(0xFA),          Packed(0x93, 64, 80)};
    {
        Peer peer("Loopback MIDI 1");
        for (const std::uint32_t message : played) peer.Send(message);
        ASSERT_TRUE(peer.Await(played.back()));
    }
    // Thru ignores the filter; channels without a pair are not changed.
    Peer heard("Loopback MIDI 2");
    WriteMidi("again.mid", 960,
              {{{0, {0x90, 70, 1}},
                {1, {0xB2, 7, 5}},
                {2, {0x95, 71, 1}},
                {3, {0x80, 70, 0}},
                {4, {0x85, 71, 0}}}});
    EXPECT_EQ(RunZorhost("play again.mid").Code, 0);
    for (const std::uint32_t message :
         {Packed(0x99, 70, 1), Packed(0xB3, 7, 5), Packed(0x95, 71, 1)})
        EXPECT_TRUE(heard.Await(message)) << std::hex << message;
    record.Signal(SIGINT);
    EXPECT_EQ(record.Finish(), 0) << record.Err;
    EXPECT_NE(record.Output.find("5 notes, 8 messages"), std::string::npos) << record.Output;
    EXPECT_NE(access("recorded.part.mid", F_OK), 0);
    const std::vector<Bytes> expected = {
        {0x90, 60, 100}, {0x92, 62, 90}, {0x90, 64, 0}, {0x93, 64, 80},
        {0x90, 70, 1},   {0x95, 71, 1},  {0x90, 70, 0}, {0x95, 71, 0},
        {0x90, 60, 0},   {0x92, 62, 0},  {0x93, 64, 0}}; // held notes end with the recording
    EXPECT_EQ(Messages(ReadBack("recorded.mid")), expected);
}

// A note on each of the first eight quarters, keys from 60 up; each ends as the next begins, and
// key 30 sounds two clocks before. All channels are used, so that silencing takes long.
void WriteSteps() {
    TrackEvents track;
    for (unsigned char i = 0; i < 16; ++i)
        track.push_back({0, {static_cast<unsigned char>(0xC0 | i), 9}});
    for (unsigned char key = 60; key < 68; ++key) {
        track.push_back({(key - 60) * 96, {0x90, key, 100}});
        track.push_back({(key - 59) * 96 - 8, {0x90, 30, 1}});
        track.push_back({(key - 59) * 96, {0x80, key, 0}});
        track.push_back({(key - 59) * 96, {0x80, 30, 0}});
    }
    WriteMidi("steps.mid", 96, {track});
}

void SendClocks(Peer& peer, int count) {
    for (int i = 0; i < count; ++i) peer.Send(Packed(0xF8));
}

TEST(Follow, PlaysAtThePositionOfTheClock) {
    Peer peer("Loopback MIDI 1");
    WriteSteps();
    Program follow("follow steps.mid --to 'Loopback MIDI 1'");
    ASSERT_TRUE(follow.Await("Waiting for Start and clock on Loopback MIDI 1"));

    const auto heard = [&peer](unsigned key) {
        return std::ranges::count(peer.Received(), Packed(0x90, key, 100));
    };
    peer.Send(Packed(0xFA));
    EXPECT_EQ(heard(60), 0);
    SendClocks(peer, 1); // belongs to the beginning
    ASSERT_TRUE(peer.Await(Packed(0x90, 60, 100)));
    // The time runs on to the next clock, so the second clock before a note cannot play it yet.
    SendClocks(peer, 22);
    ASSERT_TRUE(peer.Await(Packed(0x90, 30, 1)));
    EXPECT_EQ(heard(61), 0);
    SendClocks(peer, 2); // one quarter on
    ASSERT_TRUE(peer.Await(Packed(0x90, 61, 100)));

    // Stop silences; song positions count sixteenths. Messages that arrive while the program still
    // silences are dropped by the library, and only its clock counts them.
    for (int round = 0; round < 21; ++round) {
        const unsigned key = round % 2 == 0 ? 65 : 63;
        const std::size_t stopped = peer.Received().size();
        peer.Send(Packed(0xFC));
        ASSERT_TRUE(peer.Await(Packed(0xE0, 0, 64), stopped));
        follow.Signal(SIGSTOP);
        peer.Send(Packed(0xF2, (key - 60) * 4));
        peer.Send(Packed(0xFB));
        SendClocks(peer, 1);
        usleep(30'000); // longer than its pause between two messages
        follow.Signal(SIGCONT);
        ASSERT_TRUE(peer.Await(Packed(0x90, key, 100), stopped)) << "round " << round;
        ASSERT_TRUE(peer.Await(Packed(0xC0, 9), stopped));
    }
    EXPECT_EQ(heard(62) + heard(64), 0);
    EXPECT_EQ(std::ranges::count(peer.Received(), Packed(0x90, 30, 1)), 1);

    // Start after Stop plays from the beginning. If the clock pauses, sounding notes end; then it
    // continues at the same position.
    std::size_t before = peer.Received().size();
    peer.Send(Packed(0xFC));
    ASSERT_TRUE(peer.Await(Packed(0xE0, 0, 64), before));
    before = peer.Received().size();
    peer.Send(Packed(0xFA));
    SendClocks(peer, 1);
    ASSERT_TRUE(peer.Await(Packed(0x90, 60, 100), before));
    SendClocks(peer, 24);
    ASSERT_TRUE(peer.Await(Packed(0x90, 61, 100), before));
    ASSERT_TRUE(peer.Await(Packed(0x80, 61), before));
    SendClocks(peer, 22);
    EXPECT_EQ(heard(62), 0);
    SendClocks(peer, 2);
    ASSERT_TRUE(peer.Await(Packed(0x90, 62, 100), before));
    EXPECT_EQ(heard(60), 2) << "before and after Start";
    SendClocks(peer, 6 * 24);
    EXPECT_EQ(follow.Finish(), 0);
    EXPECT_NE(follow.Output.find("Played to the end"), std::string::npos);
}

// The clock sends Start, 24 clocks per quarter note, and Stop.
TEST(Follow, AClockInAnotherTerminal) {
    Peer peer("Loopback MIDI 1");
    WriteSteps();
    Program follow("follow steps.mid --to 1");
    ASSERT_TRUE(follow.Await("Waiting"));
    // 500 quarter notes per minute: 200 clocks per second. The song takes one of the three seconds,
    // so that a busy computer has played it before Stop.
    EXPECT_EQ(RunZorhost("clock 500 --seconds 3").Code, 0);
    ASSERT_TRUE(peer.Await(Packed(0xFC)));
    std::vector<std::uint32_t> heard = peer.Received(), expected(602, Packed(0xF8));
    std::erase_if(heard, [](std::uint32_t message) { return (message & 0xFF) < 0xF8; });
    expected.front() = Packed(0xFA);
    expected.back() = Packed(0xFC);
    ASSERT_EQ(heard, expected);
    EXPECT_EQ(follow.Finish(), 0) << follow.Err;
    for (unsigned key = 60; key < 68; ++key) EXPECT_TRUE(peer.Await(Packed(0x90, key, 100))) << key;
    const std::size_t before = peer.Received().size();
    Program clock("clock 10");
    ASSERT_TRUE(peer.Await(Packed(0xF8), before));
    clock.Signal(SIGINT);
    EXPECT_EQ(clock.Finish(), 0);
    EXPECT_TRUE(peer.Await(Packed(0xFC), before));
}

} // namespace
