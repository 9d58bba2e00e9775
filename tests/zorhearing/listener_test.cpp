// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/allocations.h"
#include "zorhearing/zorhearing.h"

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

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
    EXPECT_EQ(ZorHearSetTuning(next, 40), 0);
    EXPECT_EQ(ZorHearFeed(next, &sample, 1), 0);
    EXPECT_EQ(ZorHearSetTuning(next, 0), ZOR_HEAR_WRONG_TIME);
    EXPECT_EQ(ZorHearClose(next), 0);
}

// Threads that feed blocks of any size and format to the same listener, read and close it meet
// errors only, and one close succeeds.
TEST(Listener, ThreadsThatMeetGetErrors) {
    const std::vector<float> sound = Notes(22050);
    for (int round = 0; round < 30; ++round) {
        const ZorListener listener =
            ZorHearOpen(8000 + 6000 * round, 1 + round % 3, round / 2 % 2, round % 2);
        std::atomic<int> closed{0}, others{0};
        const auto use = [&] {
            for (int i = 0; i < 20; ++i) {
                ZorHearNote note;
                const int fed = ZorHearFeed(listener, sound.data(), 1 + i * round * 40);
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
        EXPECT_EQ(Allocations([&] {
                      for (int i = 0; i < 190; ++i) {
                          ZorHearFeed(listener, sound.data(), rate * 16 / 5);
                          while (i % 60 < 30 && ZorHearNextNote(listener, &note) == 1) ++notes;
                      }
                      for (int i = 0; i < 1000; ++i) ZorHearFeed(listener, sound.data(), rate / 4);
                      ZorHearFinish(listener);
                      while (ZorHearNextFrame(listener, &frame) == 1) ++frames;
                  }),
                  0);
        EXPECT_GT(notes, 1000);
        EXPECT_EQ(frames, 1024);
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
