// MIDI files as people have them, good and faulty.
#include "midifile/reader.h"
#include "tests/host/midi_bytes.h"

#include <gtest/gtest.h>

// Of fuzz/midi_file.cpp: ends the program if what can be read is not in order.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

const Bytes Note = {0x90, 60, 100};

Bytes Sound() { return MidiBytes(480, {{{0, Note}, {480, {0x80, 60, 0}}}}); }

Bytes With(Bytes file, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<int>(at));
    return file;
}

Bytes Behind(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST(Files, ThatAreFaultyAreReadAndToldOrRefused) {
    const Bytes good = Sound();
    const auto cut = [&](std::size_t size) {
        return Bytes(good.begin(), good.begin() + static_cast<int>(size));
    };
    // The track begins at byte 22; its note on is at 23, its note off's delta at 26.
    const struct {
        Bytes File;
        const char* Says;
        std::size_t Messages; // read all the same
    } cases[] = {
        {{}, "is empty", 0},
        {{'M', 'T', 'h', 'i', 's'}, "is not a MIDI file", 0},
        {cut(11), "is cut off in its header", 0},
        {cut(14), "is cut off: it holds no track", 0},
        {cut(good.size() - 6), "the file is cut off", 1},
        {With(good, 11, {2}), "it has 1 of the 2 tracks", 2},
        {With(good, 9, {2}), "type 2", 2},
        {With(good, 12, {0xE7, 40}), "film frames, 25 a second", 2},
        {With(good, 12, {0, 0}), "no ticks a quarter", 2},
        {Behind({'R', 'I', 'F', 'F', 9, 0, 0, 0, 'R', 'M', 'I', 'D'}, good), "RIFF", 2},
        {Behind(good, {1, 2, 3}), "bytes behind the end", 2},
        {With(Behind(good, good), 18, {1}), "wrong length", 4},
        {With(good, 32, {0xFF, 1, 0}), "without an end mark", 2},
        {With(good, 23, {0x10}), "make no sense", 1},
        {With(good, 25, {200}), "taken as 127", 2},
        {With(good, 24, {200}), "first data byte above 127", 1},
        {MidiBytes(96, {{{0, Note}, {1, {0xFF, 1, 0}}, {2, {60, 0}}}}), "running status", 2},
    };
    for (const auto& c : cases) {
        std::string said;
        try {
            const midifile::Song song = midifile::Read(c.File);
            EXPECT_EQ(song.Events.size(), c.Messages) << c.Says;
            for (const std::string& line : song.Findings) said += line + "\n";
        } catch (const midifile::Error& error) {
            said = error.what();
            EXPECT_EQ(c.Messages, 0u) << c.Says << ": " << said;
        }
        EXPECT_NE(said.find(c.Says), std::string::npos) << c.Says << ": " << said;
        EXPECT_THROW(midifile::Read(c.File, midifile::Care::Strict), midifile::Error) << c.Says;
    }
}

// Any byte of a file may be wrong: it is read or refused, never worse.
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
    const midifile::Song song = midifile::Read(good, midifile::Care::Strict);
    EXPECT_EQ(song.Events.size(), 5u);
    EXPECT_EQ(song.SystemExclusive, 2);
    EXPECT_EQ(song.EndTick, 3 * 0x0FFFFFFF);
    for (std::size_t i = 0; i < good.size() * 256; ++i) {
        const Bytes changed = With(good, i / 256, {static_cast<unsigned char>(i)});
        LLVMFuzzerTestOneInput(changed.data(), changed.size());
    }
}

} // namespace
