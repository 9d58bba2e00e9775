// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Scores of MIDI files: bars of the file or estimated ones, staves, voices, and bad input.
#include "score/meter.h"
#include "tests/host/midi_bytes.h"
#include "tests/host/program.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>

namespace {

struct Played {
    int Tick, Length, Key;
};

void WritePlayed(const std::string& name, std::vector<Played> notes, TrackEvents events = {},
                 unsigned char channel = 0) {
    for (const auto& [tick, length, key] : notes) {
        events.push_back(
            {tick,
             {static_cast<unsigned char>(0x90 | channel), static_cast<unsigned char>(key), 80}});
        events.push_back(
            {tick + length,
             {static_cast<unsigned char>(0x80 | channel), static_cast<unsigned char>(key), 0}});
    }
    std::ranges::stable_sort(events, {}, &TimedMessage::Tick);
    WriteMidi(name, 480, {events});
}

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
    return count;
}

TEST(ScoreCommand, WritesTheFilesOwnBarsHandsVoicesAndTriplets) {
    const TrackEvents waltz = {
        {0, {0xFF, 0x58, 4, 3, 2, 24, 8}}, {0, Tempo(600000)}, {0, {0xB0, 64, 127}}};
    std::vector<Played> notes;
    for (int bar = 0; bar < 4; ++bar) {
        const int at = bar * 1440;
        notes.push_back({at + 12, 1380, 48}); // held while the chords follow
        for (const int beat : {1, 2})
            for (const int key : {52, 55}) notes.push_back({at + beat * 480 + 9, 220, key});
        for (const int third : {0, 1, 2}) notes.push_back({at + third * 160 + 8, 130, 72 + third});
        notes.push_back({at + 470, 800, 76});
    }
    WritePlayed("waltz.mid", notes, waltz);
    const Result result = RunZorhost("score waltz.mid -o waltz.musicxml --json");
    ASSERT_EQ(result.Code, 0) << result.Err;
    EXPECT_NE(
        result.Output.find("\"meter\":\"3/4\",\"key\":\"C major\",\"tempo\":100.000,\"bars\":4"),
        std::string::npos)
        << result.Output;
    const std::string xml = ReadText("waltz.musicxml");
    EXPECT_EQ(Count(xml, "<measure "), 4u);
    EXPECT_EQ(Count(xml, "<clef number="), 2u);
    EXPECT_EQ(Count(xml, "<chord/>"), 8u);
    EXPECT_EQ(Count(xml, "<actual-notes>3<"), 12u);
    EXPECT_EQ(Count(xml, "<tuplet type=\"start\""), 4u);
    const std::string flat = std::regex_replace(xml, std::regex("\n *"), "");
    const auto quarters = [](int number) {
        return std::to_string(number * score::TicksPerQuarter) + "<";
    };
    EXPECT_EQ(Count(flat, "<step>C</step><octave>3</octave></pitch><duration>" + quarters(3)), 4u)
        << "a dotted half note";
    EXPECT_EQ(Count(flat, "<step>E</step><octave>3</octave></pitch><duration>" + quarters(1)), 8u);
    EXPECT_EQ(Count(flat, "<step>E</step><octave>5</octave></pitch><duration>" + quarters(2)), 4u);
    EXPECT_EQ(RunZorhost("score waltz.mid --staves 1 --key 'A minor' --meter 4/4 -o -")
                  .Output.substr(0, 5),
              "<?xml");
}

TEST(ScoreCommand, RefusesWithAReasonAndKeepsTheOldFile) {
    WriteBytes("kept.musicxml", {1, 2, 3});
    WritePlayed("one.mid", {{0, 400, 60}});
    WritePlayed("drums.mid", {{0, 400, 38}}, {}, 9);
    WritePlayed("none.mid", {}, {{0, {0xC0, 1}}});
    const std::pair<const char*, const char*> cases[] = {
        {"drums.mid", "no notes but drums"},
        {"none.mid", "has no notes"},
        {"one.mid --meter 7/8", "--meter: 7/8 is not one of"},
        {"one.mid --key 'H dur'", "is no key"},
        {"one.mid --grid 5", "--grid: 5 is not 16, 8 or triplets"},
        {"one.mid --staves 3", "--staves: 3 is not 1 or 2"},
        {"missing.mid", "missing.mid"}};
    for (const auto& [options, reason] : cases) {
        const Result result = RunZorhost(std::string("score -o kept.musicxml ") + options);
        EXPECT_NE(result.Code, 0) << options;
        EXPECT_NE(result.Err.find(reason), std::string::npos) << options << ": " << result.Err;
    }
    EXPECT_EQ(ReadText("kept.musicxml"), "\1\2\3");
    EXPECT_EQ(RunZorhost("score one.mid -o one.musicxml --staves 2").Code, 0);
    EXPECT_EQ(Count(ReadText("one.musicxml"), "<clef number="), 2u);
    // Notes that overlap wildly, a key that is struck before it is released, and one without an
    // end.
    std::vector<Played> wild;
    for (int i = 0; i < 3000; ++i)
        wild.push_back({i * 37 % 9000, 1 + i * 7919 % 20000, 30 + i * 31 % 60});
    WritePlayed("wild.mid", wild, {{4000, {0x90, 25, 90}}});
    EXPECT_EQ(RunZorhost("score wild.mid -o wild.musicxml").Code, 0);
}

// A notation program is stood in for by a script that records what it was given.
TEST(ScoreCommand, HasAPageEngravedByTheProgramThatIsInstalled) {
    WritePlayed("one.mid", {{0, 400, 60}});
    const std::string path = std::getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    const Result none = RunZorhost("score one.mid -o page.pdf");
    EXPECT_NE(none.Err.find("install MuseScore"), std::string::npos) << none.Err;
    std::filesystem::create_directory("programs");
    std::ofstream("programs/mscore3")
        << "#!/bin/sh\ngrep -q score-partwise \"$3\" || exit 1\necho one >\"${2%.svg}-1.svg\"\n"
           "echo two >\"${2%.svg}-2.svg\"\n";
    std::filesystem::permissions("programs/mscore3", std::filesystem::perms::owner_all);
    setenv("PATH", (std::filesystem::current_path().string() + "/programs:" + path).c_str(), 1);
    EXPECT_EQ(RunZorhost("score one.mid -o page.svg").Code, 0);
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(ReadText("page.svg") + ReadText("page-2.svg"), "one\ntwo\n");
}

} // namespace
