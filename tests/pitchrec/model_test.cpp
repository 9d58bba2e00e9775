// Random streams in every setting through the recogniser and the model: every frame and every
// entry must agree.
#include "pitchrec/pitch_rec.h"
#include "tests/pitchrec/fed_sound.h"
#include "tests/pitchrec/model.h"
#include "tests/pitchrec/signal.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using Sonorel::PitchRecWaveIn;

struct Pair {
    Model Plain;
    FedSound* Sound;
    PitchRecWaveIn Recogniser;

    explicit Pair(std::mt19937& random)
        : Plain(Settings(random)), Sound(Make(Plain)), Recogniser(Sound) {
        Recogniser.Open(22050);
        Recogniser.SetTrackingMode(Plain.tracking != 0);
        Recogniser.SetPeakFactorSet(Plain.factor);
        Recogniser.SetAttackDetect(Plain.attack > 0, Plain.attack);
        Recogniser.SetPitchBendOutput(Plain.bend);
        Recogniser.SetRawNoteOutput(Plain.raw);
        Recogniser.SetReferencePitch(static_cast<std::int32_t>(Plain.reference));
        Recogniser.Enable(true);
    }

    static Model Settings(std::mt19937& random) {
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
    static FedSound* Make(const Model& model) {
        return new FedSound(model.rate, model.channels, model.bits);
    }

    std::vector<Model::Entry> TakeEntries() {
        std::vector<Model::Entry> taken;
        std::int32_t time, status, data1, data2;
        while (Recogniser.GetNote(&time, &status, &data1, &data2))
            taken.push_back({time, static_cast<std::uint32_t>(status << 16 | data1 << 8 | data2)});
        return taken;
    }
};

std::vector<std::uint8_t> Encode(Signal& signal, const Model& model, std::size_t frames) {
    std::vector<std::uint8_t> data;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double value = signal.Next();
        for (int channel = 0; channel < model.channels; ++channel) {
            const double mine = channel == 0 ? value : 0.5 * value + 3;
            if (model.bits == 8) {
                data.push_back(
                    static_cast<std::uint8_t>(std::clamp(std::lround(mine) + 128, 0L, 255L)));
            } else {
                const auto word =
                    static_cast<std::uint16_t>(std::clamp(std::lround(mine), -32768L, 32767L));
                data.push_back(static_cast<std::uint8_t>(word));
                data.push_back(static_cast<std::uint8_t>(word >> 8));
            }
        }
    }
    return data;
}

void ExpectSameFrame(const Model& model, const PitchRecWaveIn& recogniser) {
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
    std::mt19937 random(6); // whose streams meet every rule of the decision
    bool attackOn = false;  // one for all recognisers, as the real one
    std::size_t entries = 0;
    for (int stream = 0; stream < 200; ++stream) {
        Pair pair(random);
        pair.Plain.attackOn = attackOn;
        Model& model = pair.Plain;
        Signal signal(random, model.rate, model.bits == 16 && random() % 2 ? 20000 : 100);
        const auto usual = static_cast<std::size_t>(pair.Sound->FramesPerBlock);
        for (int block = 0; block < 120; ++block) {
            // Mostly blocks of the usual size, some shorter.
            const std::size_t frames = random() % 10 == 0 ? random() % (usual + 1) : usual;
            const std::vector<std::uint8_t> data = Encode(signal, model, frames);
            // Starts near the wrap of the clock.
            const auto time = 0xFFFFF000u + static_cast<std::uint32_t>(block) * 23;
            pair.Sound->Feed(time, data);
            model.Block(time, data.data(), static_cast<int>(data.size()));
            ExpectSameFrame(model, pair.Recogniser);
            ASSERT_EQ(pair.TakeEntries(), model.entries)
                << "stream " << stream << " block " << block;
            ASSERT_FALSE(HasFailure()) << "stream " << stream << " block " << block;
            entries += model.entries.size();
            model.entries.clear();
        }
        attackOn = model.attackOn;
    }
    EXPECT_GT(entries, 4000u); // the streams are worth comparing
}

} // namespace
