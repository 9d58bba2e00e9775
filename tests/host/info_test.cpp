// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The output of zorhost info, and the report on messages that were sent and received back.
#include "tests/host/midi_bytes.h"
#include "tests/host/program.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

Bytes Name(const std::string& text) {
    Bytes event = {0xFF, 3, static_cast<unsigned char>(text.size())};
    event.insert(event.end(), text.begin(), text.end());
    return event;
}

TEST(Info, PrintsAllThatAFileHolds) {
    // 4/4 at 120, from bar 3 on 3/8 at 60, and the last note an hour later.
    WriteMidi("whole.mid", 480,
              {{{0, Name("A \"\\\xE9\x1F\xC3\xA9")},
                {3840, Tempo(1000000)},
                {3840, {0xFF, 0x58, 4, 3, 3, 24, 8}}},
               {{0, Name("Two")},
                {0, Name("Again")},
                {0, {0xF0, 2, 1, 0xF7}},
                {0, {0xF0, 1, 0xF7}},
                {0, {0xC8, 40}},
                {0, {0xC9, 1}},
                {0, {0x99, 35, 9}},
                {1, {0x99, 35, 0}},
                {0, {0x98, 60, 9}},
                {3840 + 3600 * 480, {0x88, 60, 0}}},
               {{0, {0x92, 59, 9}}, {9, {0x92, 66, 9}}, {10, {0x92, 59, 0}}}});
    EXPECT_EQ(RunZorhost("info whole.mid").Output,
              R"(Length   1:00:04.0, 2402 bars
Tempo    120, 60 in bar 3 quarter notes per minute
Meter    4/4, 3/8 in bar 3
File     type 1, 3 tracks, 9 messages, 480 ticks per quarter note
t1       0 notes                ch          A "\é é
t2       2 notes    B1 to C4    ch 9, 10    Two  (Drums, Violin)
t3       2 notes    B3 to F#4   ch 3        )"
              R"(
Warning: 2 system exclusive messages, which play skips
Warning: a note or pedal is still held at the end
)");
    EXPECT_EQ(
        RunZorhost("info whole.mid --json").Output,
        R"({"kind":"file","seconds":3604.000,"type":1,"tracks":3,"messages":9,"bars":2402,"ticks":480}
{"kind":"tempo","bar":1,"bpm":120.000}
{"kind":"tempo","bar":3,"bpm":60.000}
{"kind":"meter","bar":1,"beats":4,"unit":4}
{"kind":"meter","bar":3,"beats":3,"unit":8}
{"kind":"track","track":1,"name":"A \"\\é é","notes":0,"channels":"","instruments":""}
{"kind":"track","track":2,"name":"Two","notes":2,"channels":"9, 10","instruments":"Drums, Violin"}
{"kind":"track","track":3,"name":"","notes":2,"channels":"3","instruments":""}
{"kind":"warning","text":"2 system exclusive messages, which play skips"}
{"kind":"warning","text":"a note or pedal is still held at the end"}
)");
    // Wrapped between words, and indented, on a narrow terminal.
    Program narrow("info whole.mid", 40);
    EXPECT_EQ(narrow.Finish(), 0);
    for (const char* lines : {"\nTempo 120, 60 in bar 3 quarter notes per\r\n         "
                              "minute\r\nMeter    4/4, 3/8 in bar "
                              "3\r\n",
                              "\nt2 2 notes B1 to C4 ch 9, 10 Two (Drums,\r\n     Violin)\r\n",
                              "\nWarning: 2 system exclusive messages,\r\n         which play "
                              "skips\r\nWarning: a note"})
        EXPECT_NE(narrow.Output.find(lines), std::string::npos) << narrow.Output;
}

TEST(Report, CountsMessagesHeldBackLostAndWrong) {
    WriteMidi("three.mid", 960,
              {{{0, {0x80, 61, 0}}, {0, {0x90, 60, 90}}, {3, {0x90, 60, 90}}, {9, {0x80, 60, 0}}}});
    const std::string sent = "records sent                        2\n"
                             "  held back by note counts            2\n"
                             "  records received                    2\n";
    const struct {
        std::string Settings, Expected;
        int Code;
    } cases[] = {
        {"", "lost                                0\n  wrong                               0\n", 0},
        // Messages sent on channel 1 are received on channel 2.
        {"InBase1=2\n",
         "lost                                2\n  wrong                               2\n", 1}};
    std::filesystem::create_directory("report");
    for (const auto& c : cases) {
        std::ofstream("report/ZORMIDI.INI")
            << "[MMEDRVR]\nInName1=Loopback MIDI 1\nOutName1=Loopback MIDI 1\nOutMatch1=0\n"
            << c.Settings;
        const Result result = RunZorhost("--ini report play three.mid --report");
        EXPECT_EQ(result.Code, c.Code) << result.Err;
        EXPECT_NE(result.Output.find(sent + "  " + c.Expected), std::string::npos) << result.Output;
        EXPECT_EQ(result.Output.find(" -"), std::string::npos)
            << "none is received early: " << result.Output;
    }
}

} // namespace
