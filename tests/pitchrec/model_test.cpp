// Random streams in every setting through the recogniser and the model: every frame and every
// entry must agree.
#include "pitchrec/pitch_rec.h"
#include "tests/pitchrec/fed_sound.h"
#include "tests/pitchrec/model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using Sonorel::PitchRecWaveIn;

// A melody of a sort: tones of all colours, glides, vibrato, noise, rests, clicks and steps, each a
// few blocks long, at levels around the gates and above.
class Signal {
public:
    Signal(std::mt19937& random, double rate, double fullScale)
        : Random(random), Rate(rate), FullScale(fullScale) {}

    double Next() {
        if (Left-- <= 0) Choose();
        Frequency *= Glide;
        Phase += Frequency * (1 + Vibrato * std::sin(VibratoPhase += 34.0 / Rate)) / Rate;
        Level += (Target - Level) * Rise;
        return Level * (Shape() + Noise * Uniform(-1, 1)) + Offset;
    }

private:
    double Uniform(double low, double high) {
        return std::uniform_real_distribution<>(low, high)(Random);
    }
    int Pick(int below) { return std::uniform_int_distribution<>(0, below - 1)(Random); }

    void Choose() {
        Left = static_cast<int>(Rate * Uniform(0.01, 0.5));
        Kind = Pick(8);
        if (Pick(3) != 0) // a step or leap from the last one
            Frequency *= std::pow(2.0, (Pick(25) - 12) / 12.0 + Uniform(-0.01, 0.01));
        if (Frequency < 25 || Frequency > 6000) Frequency = 55 * std::pow(2.0, Uniform(0, 5));
        Glide = Pick(4) == 0 ? std::pow(2.0, Uniform(-2, 2) / Rate) : 1.0;
        Vibrato = Pick(3) == 0 ? Uniform(0, 0.03) : 0.0;
        Noise = Pick(3) == 0 ? Uniform(0, 0.5) : 0.0;
        Offset = Pick(6) == 0 ? Uniform(-0.2, 0.2) * FullScale : 0.0;
        const double levels[] = {0, 0.07, 0.1, 0.15, 0.17, 0.3, 0.5, 0.8, 1.0, 1.3};
        Target = levels[Pick(10)] * FullScale;
        Rise = Pick(2) == 0 ? 1.0 : Uniform(0.0005, 0.01);
    }

    double Shape() {
        const double turn = 2 * M_PI * Phase;
        switch (Kind) {
        case 0:
            return std::sin(turn);
        case 1:
            return 0.5 * (std::sin(turn) + std::sin(2 * turn + 1));
        case 2:
            return 0.33 * std::sin(turn) + 0.67 * std::sin(3 * turn);
        case 3:
            return 2 * (Phase - std::floor(Phase)) - 1;
        case 4:
            return Phase - std::floor(Phase) < 0.3 ? 1 : -0.4;
        case 5:
            return Uniform(-1, 1);
        case 6:
            return 0;
        default:
            return std::exp(-8 * (Phase - std::floor(Phase))) * std::sin(9 * turn);
        }
    }

    std::mt19937& Random;
    double Rate, FullScale;
    int Left = 0, Kind = 0;
    double Frequency = 220, Phase = 0, VibratoPhase = 0, Glide = 1, Vibrato = 0, Noise = 0;
    double Offset = 0, Level = 0, Target = 0, Rise = 1;
};

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
    std::mt19937 random(7);
    bool attackOn = false; // one for all recognisers, as the real one
    std::size_t entries = 0;
    for (int stream = 0; stream < 100; ++stream) {
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
