// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Feeds a listener and collects the notes and frames.
#pragma once

#include "zorhearing/zorhearing.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <vector>

struct Heard {
    std::vector<ZorHearNote> Notes; // that have ended
    std::size_t Opened = 0;         // notes that were given open
    std::vector<ZorHearFrame> Frames;
};

inline void Drain(ZorListener listener, Heard& heard) {
    ZorHearNote note;
    while (ZorHearNextNote(listener, &note) == 1) {
        if (note.Open)
            ++heard.Opened;
        else
            heard.Notes.push_back(note);
    }
    ZorHearFrame frame;
    while (ZorHearNextFrame(listener, &frame) == 1) heard.Frames.push_back(frame);
}

// block: samples per channel and call.
template <class Sample>
Heard HearAll(const std::vector<Sample>& samples, int rate, int channels, int mode,
              std::size_t block) {
    Heard heard;
    const int format = sizeof(Sample) == 2 ? ZOR_HEAR_INT16 : ZOR_HEAR_FLOAT32;
    const ZorListener listener = ZorHearOpen(rate, channels, format, mode);
    EXPECT_GT(listener, 0) << ZorHearError();
    const auto width = static_cast<std::size_t>(channels);
    for (std::size_t at = 0; at < samples.size() / width; at += block) {
        const std::size_t count = std::min(block, samples.size() / width - at);
        EXPECT_EQ(ZorHearFeed(listener, samples.data() + at * width, static_cast<int>(count)), 0);
        if (mode == ZOR_HEAR_LIVE) Drain(listener, heard);
    }
    EXPECT_EQ(ZorHearFinish(listener), 0);
    Drain(listener, heard);
    EXPECT_EQ(ZorHearClose(listener), 0);
    return heard;
}

using Harmonics = std::vector<std::complex<double>>;

// Keys 60, 62 and so on, 0.3 s each with a pause of 0.1 s.
inline std::vector<float> Scale(int rate, int notes, int key = 60,
                                const Harmonics& harmonics = {0.4, 0.2, 0.1}) {
    std::vector<float> samples;
    for (int note = 0; note < notes; ++note) {
        const double frequency = 440 * std::exp2((key + 2 * note - 69) / 12.0);
        for (int i = 0; i < rate * 2 / 5; ++i) {
            const double turn = 2 * std::numbers::pi * frequency * i / rate;
            double tone = 0;
            for (std::size_t k = 0; k < harmonics.size(); ++k) {
                const double phase = std::arg(harmonics[k]) + static_cast<double>(k + 1) * turn;
                tone += std::abs(harmonics[k]) * std::sin(phase);
            }
            samples.push_back(i < rate * 3 / 10 ? static_cast<float>(tone) : 0);
        }
    }
    return samples;
}
