// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/allocations.h"
#include "zorhearing/frame_analyser.h"
#include "zorhearing/resampler.h"
#include "zorhearing/zorhearing.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zorhearing;

// Damaged samples, then for 3.2 s notes of 0.3 s with a pause of 0.1 s after each.
std::vector<float> Notes(int rate) {
    std::vector<float> samples = {NAN, INFINITY, -INFINITY, 3e38f, -1e11f};
    for (int i = 0; i < rate * 16 / 5; ++i) {
        const double tone = 0.5 * std::sin(2 * M_PI * 262 * i / rate);
        samples.push_back(i % (rate * 2 / 5) < rate * 3 / 10 ? static_cast<float>(tone) : 0);
    }
    return samples;
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
    EXPECT_EQ(ZorHearFeed(take, &sample, 1), 0);
    EXPECT_EQ(ZorHearSetTuning(take, 0), ZOR_HEAR_WRONG_TIME);
    EXPECT_EQ(ZorHearNextNote(take, nullptr), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearNextNote(take, &note), ZOR_HEAR_WRONG_TIME);
    EXPECT_EQ(ZorHearFinish(take), 0);
    EXPECT_EQ(ZorHearFeed(take, &sample, 1), ZOR_HEAR_WRONG_TIME);
    EXPECT_EQ(ZorHearClose(take), 0);
    const ZorListener next = ZorHearOpen(44100, 1, ZOR_HEAR_FLOAT32, ZOR_HEAR_LIVE);
    for (const ZorListener none :
         {take, ZorListener{0}, ZorListener{-1}, next + 16384, INT64_MAX}) {
        EXPECT_EQ(ZorHearFeed(none, &sample, 1), ZOR_HEAR_NO_LISTENER);
        EXPECT_EQ(ZorHearClose(none), ZOR_HEAR_NO_LISTENER);
    }
    EXPECT_EQ(ZorHearClose(next), 0);
}

// Threads that feed blocks of any size and format to the same listener, read and close it meet
// errors only, and one close succeeds.
TEST(Listener, ThreadsThatMeetGetErrors) {
    const std::vector<float> sound = Notes(96000);
    for (int round = 0; round < 30; ++round) {
        const ZorListener listener =
            ZorHearOpen(8000 + 6000 * round, 1 + round % 3, round / 2 % 2, round % 2);
        std::atomic<int> closed{0}, others{0};
        const auto use = [&] {
            for (int i = 0; i < 20; ++i) {
                ZorHearNote note;
                const int frames = i == 5 ? 100'000 : 1 + i * round * 40;
                const int fed = ZorHearFeed(listener, sound.data(), frames);
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
        const std::vector<float> sound = Notes(2 * rate);
        int notes = 0, frames = 0;
        ZorHearNote note;
        ZorHearFrame frame;
        WatchAllocations();
        for (int i = 0; i < 190; ++i) {
            ZorHearFeed(listener, sound.data(), rate * 16 / 5);
            while (i % 60 < 30 && ZorHearNextNote(listener, &note) == 1) ++notes;
        }
        for (int i = 0; i < 1000; ++i) ZorHearFeed(listener, sound.data(), rate / 4);
        ZorHearFinish(listener);
        while (ZorHearNextFrame(listener, &frame) == 1) ++frames;
        EXPECT_EQ(StopWatching(), 0);
        EXPECT_GT(notes, 1000);
        EXPECT_EQ(frames, 1024);
        ZorHearClose(listener);
    }
}
#endif

// A target that is too small by one byte stays as it is. The texts themselves are compared with
// zorhost's by the tests of the Python package, which calls the same functions.
TEST(Writers, LeaveATooSmallTargetAlone) {
    const ZorHearNote note = {1, 2, 60, 0, 1, 60, 64, 0, 0};
    std::string text(20000, 'x');
    const std::int64_t length = ZorHearMusicXml(&note, 1, nullptr, nullptr, 0);
    EXPECT_EQ(ZorHearMusicXml(&note, 1, nullptr, text.data(), length), length);
    EXPECT_EQ(text, std::string(20000, 'x'));
    EXPECT_EQ(ZorHearMusicXml(&note, 1, nullptr, text.data(), length + 1), length);
    EXPECT_EQ(text.substr(length - 1, 3), std::string("\n\0x", 3));
    std::vector<std::uint8_t> bytes(ZorHearMidiFile(&note, 1, 96, nullptr, 0), 'x');
    ZorHearMidiFile(&note, 1, 96, bytes.data(), bytes.size() - 1);
    EXPECT_EQ(bytes[0], 'x');
    ZorHearMidiFile(&note, 1, 96, bytes.data(), bytes.size());
    EXPECT_EQ(bytes[0], 'M');
}

std::vector<float> Resample(std::unique_ptr<Resampler> resampler, std::span<const float> sound) {
    std::vector<float> result;
    for (std::size_t i = 0; i < sound.size(); i += 1000)
        std::ranges::copy(resampler->Feed(sound.subspan(i, 1000)), std::back_inserter(result));
    std::ranges::copy(resampler->Finish(), std::back_inserter(result));
    return result;
}

// Tones up to 0.7 of the lower Nyquist frequency pass as through soxr; those above it are gone.
TEST(SincResampler, IsAsGoodAsSoxr) {
    for (const int rate : {8000, 16000, 32000, 44100, 44101, 48000, 96000, 192000})
        for (const double share : {0.005, 0.1, 0.3, 0.5, 0.7, 1.2, 1.9}) {
            const double frequency = share * std::min(rate, AnalysisRate) / 2;
            if (frequency > rate / 2.0) continue;
            std::vector<float> tone(96000); // begins and ends slowly
            for (std::size_t i = 0; i < tone.size(); ++i)
                tone[i] = static_cast<float>(std::sin(2 * M_PI * frequency * i / rate) *
                                             std::min({1.0, i / 24000.0, 4 - i / 24000.0}));
            const auto own = Resample(std::make_unique<SincResampler>(rate), tone);
            auto expected = Resample(MakeResampler(rate), tone);
            EXPECT_NEAR(own.size(), expected.size(), 1);
            expected.resize(own.size());
            float difference = 0;
            for (std::size_t i = 0; i < own.size(); ++i)
                difference =
                    std::max(difference, std::fabs(own[i] - (share < 1 ? expected[i] : 0)));
            EXPECT_LT(difference, 1e-4) << rate << " Hz, tone of " << frequency;
        }
}

} // namespace
