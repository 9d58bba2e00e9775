// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Valid and invalid MIDI files.
#include "midifile/reader.h"
#include "midifile/writer.h"
#include "tests/host/midi_bytes.h"

#include <gtest/gtest.h>

// From fuzz/midi_file.cpp: aborts if a file that can be read gives an inconsistent song.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using midifile::ParseMode;

const Bytes Note = {0x90, 60, 100};

Bytes Sound() { return MidiBytes(480, {{{0, Note}, {480, {0x80, 60, 0}}}}); }

Bytes With(Bytes file, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<int>(at));
    return file;
}

Bytes Append(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes LateNote() {
    midifile::TrackWriter track;
    track.Add(std::int64_t{1} << 38, Note);
    return midifile::Write({track}, 96);
}

TEST(Files, ThatAreInvalidAreReadWithWarningsOrRefused) {
    const Bytes good = Sound();
    const auto cut = [&](std::size_t size) {
        return Bytes(good.begin(), good.begin() + static_cast<int>(size));
    };
    // The track begins at byte 22; its note on is at 23, its note off's delta at 26.
    const struct {
        Bytes File;
        const char* Text;
        std::size_t Messages; // that are read from it
    } cases[] = {
        {{}, "is empty", 0},
        {{'M', 'T', 'h', 'i', 's'}, "is not a MIDI file", 0},
        {cut(11), "is cut off in its header", 0},
        {cut(14), "is cut off: it contains no track", 0},
        {cut(good.size() - 6), "the file is cut off", 1},
        {With(good, 11, {2}), "it has 1 of the 2 tracks", 2},
        {With(good, 9, {2}), "type 2", 2},
        {With(good, 12, {0xE7, 40}), "film frames, 25 per second", 2},
        {With(good, 12, {0, 0}), "no ticks per quarter note", 2},
        {Append({'R', 'I', 'F', 'F', 9, 0, 0, 0, 'R', 'M', 'I', 'D'}, good), "RIFF", 2},
        {Append(good, {1, 2, 3}), "bytes after the end", 2},
        {With(Append(good, good), 18, {1}), "wrong length", 4},
        {With(good, 32, {0xFF, 1, 0}), "no end-of-track event", 2},
        {With(good, 23, {0x10}), "form no event", 1},
        {With(good, 25, {200}), "read as 127", 2},
        {With(With(good, 25, {200}), 30, {200}), "(track 1, byte 25 and 1 more)", 2},
        {With(good, 24, {200}), "first data byte above 127", 1},
        {MidiBytes(96, {{{0, Tempo(0)}, {0, Note}}}), "invalid tempo", 1},
        {MidiBytes(96, {{{0, {0xFF, 0x58, 4, 0, 2, 24, 8}}, {0, Note}}}), "invalid meter", 1},
        {MidiBytes(96, {{{0, {0xF5, 0xF6, 0x90, 1, 2}}, {9, Note}}}), "form no event", 2},
        {MidiBytes(96, {{{0, {0xFF, 1, 128, 128, 128, 128, 0}}, {9, Note}}}), "form no event", 2},
        {LateNote(), "too late a time", 0},
        {MidiBytes(96, {{{0, Note}, {1, {0xFF, 1, 0}}, {2, {60, 0}}}}), "running status", 2},
    };
    for (const auto& c : cases) {
        std::string text;
        try {
            const midifile::Song song = midifile::Read(c.File);
            EXPECT_EQ(song.Events.size(), c.Messages) << c.Text;
            for (const std::string& line : song.Warnings) text += line + "\n";
            EXPECT_LT(song.Map.TickAt(song.Map.MicrosecondsAt(song.EndTick) / 2), song.EndTick + 1);
        } catch (const midifile::Error& error) {
            text = error.what();
            EXPECT_EQ(c.Messages, 0u) << c.Text << ": " << text;
        }
        EXPECT_NE(text.find(c.Text), std::string::npos) << c.Text << ": " << text;
        EXPECT_THROW(midifile::Read(c.File, ParseMode::Strict), midifile::Error) << c.Text;
    }
}

// A file with any byte changed is read or refused, without a crash.
TEST(Files, WithAnyByteChangedDoNoHarm) {
    const Bytes good = MidiBytes(
        96, {{{0, Tempo(1000)}, {0, {0xFF, 0x58, 4, 3, 2, 24, 8}}, {5, {0xFF, 1, 2, 'h', 'i'}}},
             {{0, {0xF0, 3, 1, 2, 0xF7}},
              {0, {0xF7, 2, 0xF3, 1}},
              {0, {0xC0, 5}},
              {1, Note},
              {200, {0x80, 60, 0}},
              {201, {61, 0}},
              {3 * 0x0FFFFFFF, {0xE0, 1, 2}}}}); // longer than one delta time
    const midifile::Song song = midifile::Read(good, ParseMode::Strict);
    EXPECT_EQ(song.Events.size(), 5u);
    EXPECT_EQ(song.SystemExclusive, 2);
    EXPECT_EQ(song.EndTick, 3 * 0x0FFFFFFF);
    for (std::size_t i = 0; i < good.size() * 256; ++i) {
        const Bytes changed = With(good, i / 256, {static_cast<unsigned char>(i)});
        LLVMFuzzerTestOneInput(changed.data(), changed.size());
    }
}

// Ticks, times and the number of warnings.
TEST(Files, AreReadInTheirOwnTime) {
    const Bytes off = {0x80, 60, 0};
    const Bytes good = Sound();
    const Bytes slow = MidiBytes(480, {{{0, Tempo(1000000)},
                                        {0, Note},
                                        {480, {0xD0, 7}},
                                        {600, {0xFF, 1, 4, 'M', 'T', 'r', 'k'}},
                                        {960, off}},
                                       {{0, Note}, {480, {0xFF, 1, 0}}}});
    Bytes longHeader = With(good, 7, {8}), other = good;
    longHeader.insert(longHeader.begin() + 14, 2, 0);
    other.insert(other.begin() + 14, {'X', 'F', 'I', 'H', 0, 0, 0, 4, 'M', 'T', 'r', 'k'});
    const struct {
        Bytes File;
        std::size_t Warnings;
        std::vector<std::int64_t> Ticks;
        std::int64_t End, Microseconds;
    } cases[] = {
        {longHeader, 0, {0, 480}, 480, 500000},
        {other, 0, {0, 480}, 480, 500000},
        {slow, 0, {0, 0, 480, 960}, 960, 2000000},
        {With(slow, 9, {2}), 1, {0, 480, 960, 960}, 1440, 2500000},     // one after the other
        {With(slow, 12, {0xE3, 40}), 1, {0, 0, 480, 960}, 960, 800799}, // 29.97 frames a second
        {With(slow, 12, {0xE7, 0}), 2, {0, 0, 480, 960}, 960, 10000000},
    };
    for (const auto& c : cases) {
        const midifile::Song song = midifile::Read(c.File);
        std::vector<std::int64_t> ticks;
        for (const midifile::Event& event : song.Events) ticks.push_back(event.Tick);
        EXPECT_EQ(ticks, c.Ticks);
        EXPECT_EQ(song.Warnings.size(), c.Warnings);
        EXPECT_EQ(song.EndTick, c.End);
        EXPECT_EQ(song.Map.MicrosecondsAt(song.EndTick), c.Microseconds);
    }
}

TEST(Files, AreWrittenInOrderAndAtAnotherTempo) {
    TrackEvents chord, melody;
    for (unsigned char key = 0; key < 20; ++key) {
        chord.push_back({0x4005, {0x90, key, 1}}); // the delta's middle seven bits are 0
        melody.push_back({0x4005, {0x91, key, 1}});
    }
    midifile::TempoMap map(480);
    map.Add(midifile::Meter{0, 6, 8});
    map.Add(midifile::Tempo{960, 16000000});
    midifile::TrackWriter slow;
    midifile::AddMap(slow, map, 50);
    const midifile::Song one = midifile::Read(midifile::Write({slow}, 480), ParseMode::Strict);
    const midifile::Song two = midifile::Read(MidiBytes(480, {chord, melody}), ParseMode::Strict);
    EXPECT_EQ(one.Format, 0);
    EXPECT_EQ(two.Format, 1);
    EXPECT_EQ(one.Map.Tempos()[0].MicrosecondsPerQuarter, 1000000);
    EXPECT_EQ(one.Map.Tempos()[1].MicrosecondsPerQuarter,
              0xFFFFFF); // the slowest tempo of a MIDI file
    EXPECT_EQ(one.Map.Meters()[0].BeatUnit, 8);
    ASSERT_EQ(two.Events.size(), 40u);
    for (std::size_t i = 0; i < 40; ++i) {
        EXPECT_EQ(two.Events[i].Tick, 0x4005);
        EXPECT_EQ(two.Events[i].Data1 + 20 * two.Events[i].Track, static_cast<int>(i));
    }
}

} // namespace
