// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/host/program.h"
#include "tests/zorhearing/hear_all.h"

#include <cstdio>
#include <sndfile.h>
#include <sstream>
#include <string>

namespace {

std::vector<std::int16_t> ReadMelody(int& rate) {
    SF_INFO info = {};
    SNDFILE* file = sf_open(ZOR_MELODY, SFM_READ, &info);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(info.frames * info.channels));
    sf_read_short(file, samples.data(), info.frames);
    sf_close(file);
    rate = info.samplerate;
    return samples;
}

// The notes as zorhost prints them.
std::string Printed(const Heard& heard) {
    std::string text;
    for (const ZorHearNote& note : heard.Notes) {
        char line[200];
        std::snprintf(line, sizeof line,
                      "\"start\":%.3f,\"end\":%.3f,\"key\":%d,\"velocity\":%d,\"cents\":%.3f,"
                      "\"confidence\":%.3f\n",
                      note.Onset, note.End, note.Key, note.Velocity, note.Cents, note.Confidence);
        text += line;
    }
    return text;
}

// The same members of zorhost's lines of notes.
std::string Members(const std::string& output) {
    std::string text;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("\"kind\":\"note\"") == std::string::npos) continue;
        const std::size_t name = line.find("\"name\""), velocity = line.find("\"velocity\"");
        const std::size_t start = line.find("\"start\"");
        text += line.substr(start, name - start) +
                line.substr(velocity, line.find('}') - velocity) + "\n";
    }
    return text;
}

TEST(Zorhost, PrintsAndWritesWhatTheLibraryHears) {
    int rate = 0;
    const std::vector<std::int16_t> melody = ReadMelody(rate);
    const std::string command = std::string("transcribe ") + ZOR_MELODY + " --json";
    const Heard live = HearAll(melody, rate, 1, ZOR_HEAR_LIVE, 128);
    EXPECT_GT(live.Notes.size(), 20u);
    EXPECT_EQ(Members(RunZorhost(command + " --as-listen").Output), Printed(live));
    const Heard take = HearAll(melody, rate, 1, ZOR_HEAR_TAKE, 128);
    EXPECT_EQ(Members(RunZorhost(command + " -o own.mid --tempo 96 --meter 3/4 "
                                           "--score own.musicxml")
                          .Output),
              Printed(take));

    ZorHearScoreOptions options = {};
    options.Title = "melody";
    options.Meter = "3/4";
    options.QuartersPerMinute = 96;
    options.Pickup = -1;
    const std::size_t count = take.Notes.size();
    const std::int64_t length = ZorHearMusicXml(take.Notes.data(), count, &options, nullptr, 0);
    ASSERT_GT(length, 1000) << ZorHearError();
    std::string text(static_cast<std::size_t>(length) + 1, 'x');
    EXPECT_EQ(ZorHearMusicXml(take.Notes.data(), count, &options, text.data(), text.size() - 1),
              length);
    EXPECT_EQ(text.find_first_not_of('x'), std::string::npos); // too small by one byte
    EXPECT_EQ(ZorHearMusicXml(take.Notes.data(), count, &options, text.data(), text.size()),
              length);
    text.pop_back();
    EXPECT_EQ(text, ReadText("own.musicxml"));

    const std::int64_t size = ZorHearMidiFile(take.Notes.data(), count, 96, nullptr, 0);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    EXPECT_EQ(ZorHearMidiFile(take.Notes.data(), count, 96,
                              reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()),
              size);
    EXPECT_EQ(bytes, ReadText("own.mid"));
}

TEST(Writers, RefuseWhatCannotBeWritten) {
    const ZorHearNote good = {1, 2, 60, 0, 1, 60, 64, 0, 0};
    std::vector<ZorHearNote> bad(4, good);
    bad[0].Key = 128;
    bad[1].Onset = NAN;
    bad[2].Key = -1;
    bad[3].End = 1e300;
    for (const ZorHearNote& note : bad) {
        EXPECT_EQ(ZorHearMusicXml(&note, 1, nullptr, nullptr, 0), ZOR_HEAR_BAD_VALUE);
        EXPECT_EQ(ZorHearMidiFile(&note, 1, 120, nullptr, 0), ZOR_HEAR_BAD_VALUE);
    }
    EXPECT_EQ(ZorHearMusicXml(&good, 0, nullptr, nullptr, 0), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearMidiFile(&good, 1, NAN, nullptr, 0), ZOR_HEAR_BAD_VALUE);
    ZorHearScoreOptions options = {};
    options.Meter = "7/4";
    EXPECT_EQ(ZorHearMusicXml(&good, 1, &options, nullptr, 0), ZOR_HEAR_BAD_VALUE);
}

} // namespace
