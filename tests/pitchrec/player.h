// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Feeds a recogniser with generated sound and returns its notes.
#pragma once

#include "pitchrec/pitch_rec.h"
#include "tests/pitchrec/fed_sound.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

using NoteEntry = std::pair<std::int32_t, std::uint32_t>; // time, message

// Sample value at an index from the start of the sound, in 8-bit sample units.
using Sound = std::function<double(int)>;

inline Sound Sine(double hertz, double peak) {
    return [=](int i) { return peak * std::sin(2 * M_PI * hertz * i / 22050); };
}
// By default mono, 8 bits, 22,050 Hz. Block b ends at 1000 + 23 (b + 1) ms.
class Player {
public:
    static constexpr int Hop = 512;

    explicit Player(std::int32_t rate = 22050, std::int32_t channels = 1, std::int32_t bits = 8)
        : Input(new FedSound(rate, channels, bits)), Recogniser(Input) {
        Recogniser.Open(22050);
        Recogniser.Enable(true);
    }

    // Feeds one block of raw bytes.
    void Feed(const std::vector<std::uint8_t>& data) {
        Time += 23;
        Input->Feed(Time, data);
    }
    // Feeds the first blocks of a sound, Hop samples each.
    void Play(const Sound& sound, int blocks = 1) {
        for (int block = 0; block < blocks; ++block) {
            std::vector<std::uint8_t> data;
            for (int i = 0; i < Hop; ++i)
                data.push_back(static_cast<std::uint8_t>(
                    128 + std::clamp(std::lround(sound(block * Hop + i)), -128L, 127L)));
            Feed(data);
            Frames.push_back(Recogniser.Now);
        }
    }

    std::vector<NoteEntry> PopEntries() {
        std::vector<NoteEntry> entries;
        std::int32_t time = 0, status = 0, data1 = 0, data2 = 0;
        while (Recogniser.GetNote(&time, &status, &data1, &data2))
            entries.push_back(
                {time, Sonorel::PackMessage(static_cast<std::uint32_t>(status), data1, data2)});
        return entries;
    }
    std::vector<std::uint32_t> PopMessages() {
        std::vector<std::uint32_t> messages;
        for (const auto& [time, message] : PopEntries()) messages.push_back(message);
        return messages;
    }
    const Sonorel::FrameState& Now() const { return Recogniser.Now; }

    FedSound* Input; // owned by Recogniser
    Sonorel::PitchRecWaveIn Recogniser;
    std::uint32_t Time = 1000;
    std::vector<Sonorel::FrameState> Frames; // after each block played
};
