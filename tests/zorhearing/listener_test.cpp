// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/zorhearing/hear_all.h"

#include <array>
#include <atomic>
#include <string>
#include <thread>

namespace {

const std::vector<int> ScaleKeys = {60, 62, 64, 66, 68, 70, 72, 74};

std::vector<int> Keys(const Heard& heard) {
    std::vector<int> keys;
    for (const ZorHearNote& note : heard.Notes) keys.push_back(note.Key);
    return keys;
}

// Equal to the last bit.
void ExpectSame(const Heard& a, const Heard& b) {
    const auto numbers = [](const Heard& heard) {
        std::vector<double> all = {static_cast<double>(heard.Opened)};
        for (const ZorHearNote& note : heard.Notes)
            all.insert(all.end(), {note.Onset, note.End, note.Pitch, note.Confidence,
                                   static_cast<double>(note.Velocity)});
        for (const ZorHearFrame& frame : heard.Frames)
            all.insert(all.end(), {frame.Begin, frame.Frequency, frame.Peak});
        return all;
    };
    EXPECT_EQ(numbers(a), numbers(b));
}

TEST(Listener, HearsTheSameInBlocksOfAnySizeAndFormat) {
    for (const int rate : {8000, 22050, 48000, 192000}) {
        const std::vector<float> sound = Scale(rate, 8);
        std::vector<std::int16_t> integers;
        std::vector<float> rounded, threeChannels;
        for (const float sample : sound) {
            integers.push_back(static_cast<std::int16_t>(std::lround(sample * 32768)));
            rounded.push_back(static_cast<float>(integers.back()) / 32768);
            for (const float factor : {1.5f, 1.0f, 0.5f})
                threeChannels.push_back(factor * rounded.back());
        }
        for (const int mode : {ZOR_HEAR_LIVE, ZOR_HEAR_TAKE}) {
            SCOPED_TRACE(std::to_string(rate) + " Hz, mode " + std::to_string(mode));
            const Heard whole = HearAll(rounded, rate, 1, mode, 100000);
            EXPECT_EQ(Keys(whole), ScaleKeys);
            EXPECT_EQ(whole.Opened, mode == ZOR_HEAR_LIVE ? whole.Notes.size() : 0);
            for (std::size_t i = 0; i < whole.Notes.size(); ++i)
                EXPECT_NEAR(whole.Notes[i].Onset, 0.4 * static_cast<double>(i), 0.03);
            for (const std::size_t block : {rate > 8000 ? 37u : 1u, 5000u})
                ExpectSame(whole, HearAll(rounded, rate, 1, mode, block));
            ExpectSame(whole, HearAll(integers, rate, 1, mode, 512));
            EXPECT_EQ(Keys(HearAll(threeChannels, rate, 3, mode, 999)), ScaleKeys);
        }
    }
}

// Of a clarinet. The recogniser takes the third and the second harmonic for the notes.
TEST(Listener, HearsTheNoteOfALoudOvertone) {
    using std::polar;
    const struct {
        Harmonics Spectrum;
        std::vector<int> Notes;
    } cases[] = {
        {{polar(0.09, 1.6), polar(0.05, 2.2), polar(0.33, -0.1), 0.07, polar(0.25, 0.8)},
         {74, 76, 78}},
        {{polar(0.13, 1.6), polar(0.45, 2.2), polar(0.2, -0.7)}, {81, 83}},
    };
    for (const auto& c : cases)
        for (const int mode : {ZOR_HEAR_LIVE, ZOR_HEAR_TAKE}) {
            const auto sound =
                Scale(44100, static_cast<int>(c.Notes.size()), c.Notes[0], c.Spectrum);
            EXPECT_EQ(Keys(HearAll(sound, 44100, 1, mode, 512)), c.Notes);
        }
}

TEST(Listener, HearsTheLouderOfTwoChannelsThatCancelEachOther) {
    for (const float left : {1.0f, -0.9f}) {
        std::vector<float> stereo;
        for (const float sample : Scale(44100, 8))
            stereo.insert(stereo.end(), {left * sample, left > 0 ? -0.9f * sample : sample});
        const Heard heard = HearAll(stereo, 44100, 2, ZOR_HEAR_TAKE, 4096);
        EXPECT_EQ(Keys(heard), ScaleKeys);
        EXPECT_GT(heard.Frames[2].Peak, 0.4);
    }
}

// Damaged samples are silence, and what follows is heard as if they had been.
TEST(Listener, SurvivesDamagedSamples) {
    const std::vector<float> scale = Scale(44100, 8);
    for (const int mode : {ZOR_HEAR_LIVE, ZOR_HEAR_TAKE}) {
        std::vector<float> damaged, silent(4410);
        for (int i = 0; i < 882; ++i)
            damaged.insert(damaged.end(), {NAN, INFINITY, -INFINITY, 3e38f, -1e11f});
        damaged.insert(damaged.end(), scale.begin(), scale.end());
        silent.insert(silent.end(), scale.begin(), scale.end());
        ExpectSame(HearAll(damaged, 44100, 1, mode, 441), HearAll(silent, 44100, 1, mode, 441));
        const std::vector<std::int16_t> loudest(44100, -32768);
        EXPECT_TRUE(HearAll(loudest, 22050, 1, mode, 100).Notes.empty());
        EXPECT_TRUE(HearAll(std::vector<float>{}, 22050, 64, mode, 1).Frames.empty());
    }
}

TEST(Listener, HoldsTheLastFramesAndTheTuning) {
    const ZorListener listener = ZorHearOpen(22050, 1, ZOR_HEAR_FLOAT32, ZOR_HEAR_LIVE);
    EXPECT_EQ(ZorHearSetTuning(listener, 40), 0);
    const std::vector<float> sound = Scale(22050, 80);
    ZorHearFeed(listener, sound.data(), static_cast<int>(sound.size()));
    EXPECT_EQ(ZorHearSetTuning(listener, 0), ZOR_HEAR_WRONG_TIME);
    EXPECT_EQ(ZorHearTuning(listener), 40);
    Heard heard;
    Drain(listener, heard);
    ASSERT_EQ(heard.Frames.size(), 1024u);
    EXPECT_NEAR(heard.Frames.back().Begin, 80 * 0.4, 0.05);
    EXPECT_NEAR(heard.Notes.at(0).Cents, -40, 5);
    ZorHearClose(listener);
}

TEST(Listener, RefusesWrongUse) {
    const float sample = 0;
    ZorHearNote note;
    for (const auto& [rate, channels, format, mode] : {std::array{7999, 1, 0, 0},
                                                       {192001, 1, 0, 0},
                                                       {44100, 65, 0, 0},
                                                       {44100, 1, 2, 0},
                                                       {44100, 1, 0, -1}})
        EXPECT_EQ(ZorHearOpen(rate, channels, format, mode), ZOR_HEAR_BAD_VALUE);
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
    const std::vector<float> sound = Scale(22050, 1);
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
        std::thread first(use), second(use);
        first.join();
        second.join();
        EXPECT_EQ(closed, 1);
        EXPECT_EQ(others, 0);
    }
}

} // namespace
