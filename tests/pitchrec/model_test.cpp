// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Compares every frame and every entry of the recogniser with the model's, on random sound in
// random settings.
#include "tests/pitchrec/model.h"
#include "tests/pitchrec/player.h"
#include "tests/pitchrec/signal.h"

#include <gtest/gtest.h>

namespace {

Model RandomSettings(std::mt19937& random) {
    Model model;
    model.tracking = random() % 2;
    model.factor = random() % 2;
    model.attack = random() % 2 ? static_cast<int>(1 + random() % 80) : 0;
    model.bend = random() % 2;
    model.raw = random() % 2;
    const double references[] = {440, 442, 415, 466, 432, 100, 1000, 5000};
    model.reference = references[random() % 8];
    const int rates[] = {22050, 44100, 48000, 33075};
    model.rate = rates[random() % 4];
    model.channels = 1 + static_cast<int>(random() % 3);
    model.bits = random() % 2 ? 8 : 16;
    return model;
}

std::vector<std::uint8_t> Encode(Signal& signal, const Model& model, std::size_t frames) {
    std::vector<std::uint8_t> data;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double value = signal.Next();
        for (int channel = 0; channel < model.channels; ++channel) {
            const double sample = channel == 0 ? value : 0.5 * value + 3;
            if (model.bits == 8) {
                data.push_back(
                    static_cast<std::uint8_t>(std::clamp(std::lround(sample) + 128, 0L, 255L)));
            } else {
                const auto word =
                    static_cast<std::uint16_t>(std::clamp(std::lround(sample), -32768L, 32767L));
                data.push_back(static_cast<std::uint8_t>(word));
                data.push_back(static_cast<std::uint8_t>(word >> 8));
            }
        }
    }
    return data;
}

void ExpectSameFrame(const Model& model, const Sonorel::PitchRecWaveIn& recogniser) {
    const Sonorel::FrameState& now = recogniser.Now;
    EXPECT_EQ(now.Frequency, model.now.frequency);
    EXPECT_EQ(now.CentsOffset, model.now.cents);
    EXPECT_EQ(now.OnsetTime, model.now.onset);
    EXPECT_EQ(now.Amplitude, model.now.amplitude);
    EXPECT_EQ(now.DetectedNote, model.now.detected);
    EXPECT_EQ(now.ActiveNote, model.now.active);
    EXPECT_EQ(now.HoldFrames, model.now.hold);
    EXPECT_EQ(now.BlockPeak, model.now.blockPeak);
    EXPECT_EQ(recogniser.ValidSamples, model.valid);
    EXPECT_EQ(recogniser.SignalLevel.load(), model.level);
}

TEST(Recogniser, AgreesWithTheModelOnRandomStreams) {
    std::mt19937 random(6); // a seed that reaches every branch of the decision
    bool attackOn = false;  // shared by all recognisers
    std::size_t entries = 0;
    for (int stream = 0; stream < 200; ++stream) {
        Model model = RandomSettings(random);
        model.attackOn = attackOn;
        Player player(model.rate, model.channels, model.bits);
        player.Recogniser.SetTrackingMode(model.tracking != 0);
        player.Recogniser.SetPeakFactorSet(model.factor);
        player.Recogniser.SetAttackDetect(model.attack > 0, model.attack);
        player.Recogniser.SetPitchBendOutput(model.bend);
        player.Recogniser.SetRawNoteOutput(model.raw);
        player.Recogniser.SetReferencePitch(static_cast<std::int32_t>(model.reference));
        player.Time = 0xFFFFF000u; // near the wrap of the clock
        Signal signal(random, model.rate, model.bits == 16 && random() % 2 ? 20000 : 100);
        const auto usual = static_cast<std::size_t>(player.Input->FramesPerBlock);
        for (int block = 0; block < 120; ++block) {
            // Mostly blocks of the usual size, some shorter.
            const std::size_t frames = random() % 10 == 0 ? random() % (usual + 1) : usual;
            const std::vector<std::uint8_t> data = Encode(signal, model, frames);
            player.Feed(data);
            model.Block(player.Time, data.data(), static_cast<int>(data.size()));
            ExpectSameFrame(model, player.Recogniser);
            ASSERT_EQ(player.PopEntries(), model.entries);
            ASSERT_FALSE(HasFailure()) << "stream " << stream << " block " << block;
            entries += model.entries.size();
            model.entries.clear();
        }
        attackOn = model.attackOn;
    }
    EXPECT_GT(entries, 4000u); // the streams contain enough notes
}

} // namespace
