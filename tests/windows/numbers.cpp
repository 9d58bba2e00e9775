// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Prints the recogniser's numbers, to compare them between systems: every frame and note of sounds
// computed in integers, in every setting, with the bits of each frequency; then, for each reference
// pitch, a checksum of the cents of all frequencies that a window can yield.
#include "pitchrec/pitch_arithmetic.h"
#include "pitchrec/pitch_rec.h"
#include "tests/pitchrec/fed_sound.h"

#include <bit>
#include <cstdio>
#include <cstdlib>

#ifndef _WIN32
namespace machine { // replaces the clock, which is not linked
void UseRealClock();
void UseRealClock() {}
} // namespace machine
#endif

namespace {

// Generates tones, glides, noise and rests, each for some blocks, at levels around and above the
// gates.
class Tune {
public:
    explicit Tune(std::uint32_t seed) : State(seed) {}

    std::int32_t Next() { // a sample of 16 bits
        if (--Left < 0) Choose();
        Step += Glide;
        Phase += Step;
        const auto turn = static_cast<std::int32_t>(Phase >> 16) - 32768;
        return (Kind == 0   ? turn
                : Kind == 1 ? Wave(turn)
                : Kind == 2 ? (Wave(turn) + 2 * Wave(static_cast<std::int16_t>(3 * turn))) / 3
                : Kind == 3 ? (turn < -12000 ? 32767 : -13000)
                            : static_cast<std::int32_t>(Random(65536)) - 32768) *
               Level / 256;
    }

private:
    std::uint32_t Random(std::uint32_t below) {
        State = State * 1664525u + 1013904223u;
        return (State >> 8) % below;
    }
    // A sine approximated by parabolas.
    static std::int32_t Wave(std::int32_t turn) { return turn * (32768 - std::abs(turn)) / 8192; }

    void Choose() {
        Left = static_cast<int>(500 + Random(8000));
        Kind = static_cast<int>(Random(16)) * 5 / 16;
        Step = (1u << (23 + Random(6))) + Random(1u << 24) * 2; // from 43 to some 1,500 Hz
        Glide = Random(3) == 0 ? Random(2001) - 1000 : 0;
        const int levels[] = {0, 19, 26, 38, 41, 80, 128, 200, 255};
        Level = levels[Random(9)];
    }

    std::uint32_t State, Phase = 0, Step = 0, Glide = 0;
    int Left = 0, Kind = 0;
    std::int32_t Level = 0;
};

void PrintTune(std::uint32_t setting) {
    const std::int32_t rates[] = {22050, 44100, 48000};
    const std::int32_t references[] = {440, 442, 415};
    const std::int32_t bits = setting & 1 ? 16 : 8;
    auto* const input = new FedSound(rates[setting % 3], 2, bits); // owned by the recogniser
    Sonorel::PitchRecWaveIn recogniser(input);
    recogniser.SetTrackingMode(setting & 2);
    recogniser.SetPitchBendOutput(setting & 4);
    recogniser.SetRawNoteOutput(setting & 8);
    recogniser.SetPeakFactorSet(setting >> 4 & 1);
    recogniser.SetAttackDetect(setting % 5 == 0, 20);
    recogniser.SetReferencePitch(references[setting / 3 % 3]);
    recogniser.Open(22050);
    recogniser.Enable(true);
    std::printf("setting %u\n", setting);
    Tune tune(setting + 1);
    for (std::uint32_t block = 0; block < 400; ++block) {
        std::vector<std::uint8_t> data;
        while (static_cast<std::int32_t>(data.size()) < input->BytesPerBlock) {
            const std::int32_t value = tune.Next();
            if (bits == 16) data.push_back(static_cast<std::uint8_t>(value));
            data.push_back(static_cast<std::uint8_t>((value >> 8) + (bits == 8 ? 128 : 0)));
        }
        input->Feed(1000 + 23 * block, data);
        const Sonorel::FrameState& now = recogniser.Now;
        // The distance is a logarithm, whose last bit depends on the system's math library.
        std::printf("%u %016llx %.12f %d %d %d %d %d %d %d %d %d %d\n", block,
                    static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(now.Frequency)),
                    recogniser.JumpHistory[0], now.CentsOffset, now.OnsetTime, now.DetectedNote,
                    now.ActiveNote, now.HoldFrames, now.Extreme, now.MaxSample, now.MinSample,
                    now.BlockPeakTime, now.BlockPeak);
        for (std::int32_t time, status, first, second;
             recogniser.GetNote(&time, &status, &first, &second);)
            std::printf("  %d %02x %d %d\n", time, status, first, second);
    }
}

// For frequencies of votes cycles in total samples.
void PrintCents(double reference) {
    std::uint32_t sum = 0, count = 0;
    for (std::int32_t votes = 2; votes <= 57; ++votes)
        for (std::int32_t total = votes * 2; total <= votes * 700; ++total, ++count) {
            const double frequency = static_cast<double>(22050 * votes) / total;
            const std::int32_t cents =
                Sonorel::Truncated(Sonorel::FrequencyToCents(frequency, reference, 6900.0));
            sum = (sum ^ static_cast<std::uint32_t>(cents)) * 16777619u;
        }
    std::printf("%u frequencies, reference %g: %08x\n", count, reference, sum);
}

} // namespace

int main() {
    for (std::uint32_t setting = 0; setting < 32; ++setting) PrintTune(setting);
    for (const double reference : {440.0, 442.0, 415.0, 432.0, 466.0}) PrintCents(reference);
    return 0;
}
