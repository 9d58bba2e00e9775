// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/allocations.h"
#include "zorhearing/zorhearing.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

namespace {

const std::vector<int> ScaleKeys = {60, 62, 64, 66, 68, 70, 72, 74};

// Amplitude and phase of each.
using Harmonics = std::vector<std::complex<double>>;
const Harmonics Reed = {0.4, 0.2, 0.1};

// Each key for 0.3 s, with a pause of 0.1 s.
std::vector<float> Scale(int rate, const std::vector<int>& keys = ScaleKeys,
                         const Harmonics& harmonics = Reed) {
    std::vector<float> samples;
    for (const int key : keys)
        for (int i = 0; i < rate * 2 / 5; ++i) {
            const double cycles = 440 * std::exp2((key - 69) / 12.0) * i / rate;
            double tone = 0, number = 0;
            for (const auto& harmonic : harmonics)
                tone += std::imag(harmonic * std::polar(1.0, 2 * M_PI * ++number * cycles));
            samples.push_back(i < rate * 3 / 10 ? static_cast<float>(tone) : 0);
        }
    return samples;
}

struct Heard {
    std::vector<int> Keys;                     // of notes that have ended
    std::vector<std::array<double, 6>> Notes;  // from onset to velocity, of open ones too
    std::vector<std::array<double, 3>> Frames; // begin, frequency, peak
    bool operator==(const Heard&) const = default;
};

void Read(ZorListener listener, Heard& heard) {
    ZorHearNote note;
    while (ZorHearNextNote(listener, &note) == 1) {
        heard.Notes.push_back({note.Onset, note.End, note.Pitch, note.Cents, note.Confidence,
                               static_cast<double>(note.Velocity)});
        if (!note.Open) heard.Keys.push_back(note.Key);
    }
    ZorHearFrame frame;
    while (ZorHearNextFrame(listener, &frame) == 1)
        heard.Frames.push_back({frame.Begin, frame.Frequency, frame.Peak});
}

// block: samples per channel and call.
template <class Sample>
Heard HearAll(const std::vector<Sample>& samples, int rate, int channels, int mode, int block) {
    Heard heard;
    const ZorListener listener = ZorHearOpen(rate, channels, sizeof(Sample) == 4, mode);
    const int count = static_cast<int>(samples.size()) / channels;
    for (int at = 0; at < count; at += block) {
        EXPECT_EQ(
            ZorHearFeed(listener, samples.data() + at * channels, std::min(block, count - at)), 0);
        if (mode == ZOR_HEAR_LIVE) Read(listener, heard);
    }
    EXPECT_EQ(ZorHearFinish(listener), 0) << ZorHearError();
    Read(listener, heard);
    EXPECT_EQ(ZorHearClose(listener), 0);
    return heard;
}

TEST(Listener, HearsTheSameInBlocksOfAnySizeAndFormatAfterDamagedSamples) {
    constexpr float damaged[] = {NAN, INFINITY, -INFINITY, 3e38f, -1e11f};
    for (const int rate : {8000, 22050, 48000, 192000})
        for (const int mode : {ZOR_HEAR_LIVE, ZOR_HEAR_TAKE}) {
            SCOPED_TRACE(std::to_string(rate) + " Hz, mode " + std::to_string(mode));
            std::vector<std::int16_t> integers;
            std::vector<float> floats;
            for (const float sample : Scale(rate)) {
                integers.push_back(static_cast<std::int16_t>(std::lround(sample * 32768)));
                floats.push_back(static_cast<float>(integers.back()) / 32768);
            }
            const std::size_t silence =
                integers.size() / 32; // 0.1 s, which damaged samples are too
            integers.insert(integers.begin(), silence, 0);
            floats.insert(floats.begin(), silence, 0);
            const Heard whole = HearAll(floats, rate, 1, mode, 100000);
            EXPECT_EQ(whole.Keys, ScaleKeys);
            EXPECT_EQ(whole.Notes.size(), mode == ZOR_HEAR_LIVE ? 16u : 8u);
            for (const auto& note : whole.Notes)
                EXPECT_NEAR(note[0], 0.1 + 0.2 * (note[2] - 60), 0.04);
            EXPECT_EQ(HearAll(integers, rate, 1, mode, 512), whole);
            for (std::size_t i = 0; i < silence; ++i) floats[i] = damaged[i % 5];
            for (const int block : {rate > 8000 ? 37 : 1, 5000})
                EXPECT_EQ(HearAll(floats, rate, 1, mode, block), whole);
            integers.assign(44100, -32768);
            EXPECT_TRUE(HearAll(integers, rate, 1, mode, 100).Notes.empty());
            EXPECT_TRUE(HearAll(std::vector<float>{}, rate, 64, mode, 1).Frames.empty());
        }
}

// A clarinet, of which the recogniser takes the third or the second harmonic for the note; three
// channels; two that cancel each other, of which a take has the louder.
TEST(Listener, HearsNotesBelowOvertonesAndAllChannels) {
    using std::polar;
    const struct {
        std::vector<int> Keys;
        Harmonics Spectrum;
        std::vector<float> Gains;
        int Modes;
    } cases[] = {
        {{74, 76, 78},
         {polar(.09, 1.6), polar(.05, 2.2), polar(.33, -.1), .07, polar(.25, .8)},
         {1},
         2},
        {{81, 83}, {polar(.13, 1.6), polar(.45, 2.2), polar(.2, -.7)}, {1}, 2},
        {ScaleKeys, Reed, {1.5f, 1, 0.5f}, 2},
        {ScaleKeys, Reed, {1, -0.9f}, 1},
        {ScaleKeys, Reed, {-0.9f, 1}, 1},
    };
    for (const auto& [keys, spectrum, gains, modes] : cases)
        for (int mode = 0; mode < modes; ++mode) {
            std::vector<float> sound;
            for (const float sample : Scale(44100, keys, spectrum))
                for (const float gain : gains) sound.push_back(gain * sample);
            const Heard heard = HearAll(sound, 44100, static_cast<int>(gains.size()), mode, 999);
            EXPECT_EQ(heard.Keys, keys) << gains[0];
            EXPECT_GT(heard.Frames.at(2)[2], 0.4);
        }
}

TEST(Listener, HoldsTheLastFramesAndTheTuning) {
    const ZorListener listener = ZorHearOpen(22050, 1, ZOR_HEAR_FLOAT32, ZOR_HEAR_LIVE);
    EXPECT_EQ(ZorHearSetTuning(listener, 40), 0);
    const std::vector<float> sound = Scale(22050, std::vector(80, 60));
    ZorHearFeed(listener, sound.data(), static_cast<int>(sound.size()));
    EXPECT_EQ(ZorHearSetTuning(listener, 0), ZOR_HEAR_WRONG_TIME);
    EXPECT_EQ(ZorHearTuning(listener), 40);
    Heard heard;
    Read(listener, heard);
    ASSERT_EQ(heard.Frames.size(), 1024u);
    EXPECT_NEAR(heard.Frames.back()[0], 80 * 0.4, 0.05);
    EXPECT_NEAR(heard.Notes.at(1)[3], -40, 5);
    ZorHearClose(listener);
}

TEST(Listener, RefusesWrongUse) {
    const float sample = 0;
    ZorHearNote note;
    EXPECT_EQ(ZorHearOpen(7999, 1, 0, 0), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearOpen(192001, 1, 0, 0), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearOpen(44100, 65, 0, 0), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearOpen(44100, 1, 2, 0), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearOpen(44100, 1, 0, -1), ZOR_HEAR_BAD_VALUE);
    const ZorListener take = ZorHearOpen(44100, 1, ZOR_HEAR_FLOAT32, ZOR_HEAR_TAKE);
    EXPECT_EQ(ZorHearFeed(take, nullptr, 1), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearFeed(take, &sample, -1), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearSetTuning(take, NAN), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearNextNote(take, nullptr), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearNextNote(take, &note), ZOR_HEAR_WRONG_TIME);
    EXPECT_EQ(ZorHearFinish(take), 0);
    EXPECT_EQ(ZorHearFeed(take, &sample, 1), ZOR_HEAR_WRONG_TIME);
    EXPECT_STRNE(ZorHearError(), "");
    EXPECT_EQ(ZorHearClose(take), 0);
    const ZorListener next = ZorHearOpen(44100, 1, ZOR_HEAR_FLOAT32, ZOR_HEAR_LIVE);
    for (const ZorListener none :
         {take, ZorListener{0}, ZorListener{-1}, next + 16384, INT64_MAX}) {
        EXPECT_EQ(ZorHearFeed(none, &sample, 1), ZOR_HEAR_NO_LISTENER);
        EXPECT_EQ(ZorHearClose(none), ZOR_HEAR_NO_LISTENER);
    }
    EXPECT_EQ(ZorHearClose(next), 0);
}

// Threads that feed, read and close the same listener meet errors only, and one close succeeds.
TEST(Listener, ThreadsThatMeetGetErrors) {
    const std::vector<float> sound = Scale(22050, {60});
    for (int round = 0; round < 30; ++round) {
        const ZorListener listener = ZorHearOpen(22050, 1, ZOR_HEAR_FLOAT32, round % 2);
        std::atomic<int> closed{0}, others{0};
        const auto use = [&] {
            for (int i = 0; i < 20; ++i) {
                ZorHearNote note;
                const int fed = ZorHearFeed(listener, sound.data(), 2000);
                others += fed != 0 && fed != ZOR_HEAR_BUSY && fed != ZOR_HEAR_NO_LISTENER;
                others += ZorHearNextNote(listener, &note) == ZOR_HEAR_NO_MEMORY;
                closed += i == 10 && ZorHearClose(listener) == 0;
            }
        };
        std::thread other(use);
        use();
        other.join();
        EXPECT_EQ(closed, 1);
        EXPECT_EQ(others, 0);
    }
}

#ifdef ZOR_COUNTS_ALLOCATIONS
// Ten minutes of notes on two channels, of which half are read, and a note that sounds for minutes.
TEST(Listener, LiveFeedingDoesNotAllocate) {
    for (const int rate : {22050, 48000}) {
        const ZorListener listener = ZorHearOpen(rate, 2, ZOR_HEAR_FLOAT32, ZOR_HEAR_LIVE);
        const std::vector<float> sound = Scale(2 * rate);
        Heard heard;
        heard.Keys.reserve(2000), heard.Notes.reserve(4000), heard.Frames.reserve(30000);
        EXPECT_EQ(Allocations([&] {
                      for (int i = 0; i < 190; ++i) {
                          ZorHearFeed(listener, sound.data(), static_cast<int>(sound.size()) / 2);
                          if (i % 60 < 30) Read(listener, heard);
                      }
                      for (int i = 0; i < 1000; ++i) ZorHearFeed(listener, sound.data(), rate / 4);
                      ZorHearFinish(listener);
                  }),
                  0);
        EXPECT_GT(heard.Keys.size(), 500u);
        ZorHearClose(listener);
    }
}
#endif

// A target that is too small by one byte stays as it is. The texts themselves are compared with
// zorhost's by the tests of the Python package, which calls the same functions.
TEST(Writers, LeaveATooSmallTargetAlone) {
    const std::vector<ZorHearNote> notes(3, {1, 2, 60, 0, 1, 60, 64, 0, 0});
    std::string text(1, 'x');
    const std::int64_t length = ZorHearMusicXml(notes.data(), 3, nullptr, nullptr, 0);
    text.resize(length + 1, 'x');
    const std::string untouched = text;
    EXPECT_EQ(ZorHearMusicXml(notes.data(), 3, nullptr, text.data(), text.size() - 1), length);
    EXPECT_EQ(text, untouched);
    EXPECT_EQ(ZorHearMusicXml(notes.data(), 3, nullptr, text.data(), text.size()), length);
    EXPECT_EQ(text.substr(text.size() - 2), std::string("\n\0", 2));
    std::vector<std::uint8_t> bytes(ZorHearMidiFile(notes.data(), 3, 96, nullptr, 0), 'x');
    ZorHearMidiFile(notes.data(), 3, 96, bytes.data(), bytes.size() - 1);
    EXPECT_EQ(bytes[0], 'x');
    ZorHearMidiFile(notes.data(), 3, 96, bytes.data(), bytes.size());
    EXPECT_EQ(bytes[0], 'M');
}

} // namespace
