// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The recogniser's notes for known sounds. model_test.cpp checks the steps of the analysis.
#include "tests/pitchrec/player.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using Messages = std::vector<std::uint32_t>;
using Sonorel::NoNote;

constexpr int LowestSteady = 45; // a window holds too few cycles of a lower voice

Sound Harmonics(double hertz, std::vector<double> gains) {
    return [=](int i) {
        double sum = 0;
        for (std::size_t h = 0; h < gains.size(); ++h)
            sum += gains[h] * std::sin(2 * M_PI * hertz * static_cast<double>(h + 1) * i / 22050);
        return sum;
    };
}

// With the resonances of a vowel.
Sound Voice(double hertz) {
    std::vector<double> gains;
    for (int h = 1; h <= 10 && h * hertz < 9000; ++h) {
        const double f = h * hertz;
        gains.push_back(25 / (1 + std::pow((f - 700) / 250, 2)) +
                        12 / (1 + std::pow((f - 1200) / 300, 2)) + 40.0 / h);
    }
    return Harmonics(hertz, gains);
}

TEST(Sounds, EverySemitoneFromC2ToC7) {
    const auto sine = [](double hertz) { return Sine(hertz, 100); };
    for (const auto& voice : {std::function<Sound(double)>(sine), {Voice}})
        for (int note = 36; note <= 96; ++note) {
            SCOPED_TRACE(note);
            Player player;
            player.Play(voice(440.0 * std::pow(2.0, (note - 69) / 12.0)), 24);
            int held = 0;
            for (std::size_t block = 4; block < player.Frames.size(); ++block) {
                const Sonorel::FrameState& frame = player.Frames[block];
                if (frame.ActiveNote == NoNote) continue;
                ++held;
                EXPECT_EQ(frame.ActiveNote, note);
                EXPECT_NEAR(frame.CentsOffset, 0, 25);
            }
            EXPECT_GE(held, note >= LowestSteady ? 20 : 12);
            if (note >= LowestSteady) {
                EXPECT_EQ(player.PopMessages().size(), 1u);
            }
        }
}

// A strong third harmonic, clipping, and an offset that leaves the zero crossings.
TEST(Sounds, OneNoteEach) {
    const std::pair<Sound, std::uint32_t> cases[] = {
        {Harmonics(220, {33, 0, 66}), 57},
        {Sine(220, 500), 57},
        {[](int i) { return 60 + Sine(441, 62)(i); }, 69}};
    for (const auto& [sound, note] : cases) {
        Player player;
        player.Play(sound, 6);
        const auto velocity = static_cast<std::uint32_t>(player.Now().Amplitude & 0xFF);
        EXPECT_EQ(player.PopMessages(), Messages{0x900000u | note << 8 | velocity});
    }
}

// Sound without pitch gives few notes or none.
TEST(Sounds, NoiseGivesNoMelody) {
    std::mt19937 random(3);
    const std::pair<Sound, std::size_t> cases[] = {
        {Sine(29, 100), 0},
        {[](int i) { return 60 + Sine(441, 50)(i); }, 0}, // offset: no zero crossings
        {[](int i) { return i % 9973 == 700 ? 120.0 : 0.0; }, 0},
        {[](int i) { return i / 4000 % 2 ? 90.0 : -90.0; }, 0},
        {[&](int) { return static_cast<double>(random() % 201) - 100; }, 63}};
    for (const auto& [sound, most] : cases) {
        Player player;
        player.Play(sound, 43 * 4);
        EXPECT_LE(player.PopEntries().size(), most);
    }
}

TEST(Sounds, AGlideStaysOnItsFirstNoteAndAFifthChangesIt) {
    Player player;
    player.Recogniser.SetTrackingMode(true);
    player.Play(Sine(440, 100), 4);
    double phase = 0, hertz = 440;
    const double half = std::pow(2.0, 0.5 / 11025); // an octave in half a second
    player.Play([&](int) { return 100 * std::sin(phase += 2 * M_PI * (hertz *= half) / 22050); },
                22);
    EXPECT_EQ(player.Now().ActiveNote, 69);
    EXPECT_GT(player.Now().CentsOffset, 300);
    player.Play(Sine(932, 100), 8);
    EXPECT_EQ(player.PopMessages(), (Messages{0x904564, 0x804540, 0x905264}));
}

} // namespace
