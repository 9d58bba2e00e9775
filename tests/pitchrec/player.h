// A recogniser that is fed by hand, and the sounds to feed it with.
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

// Value of the sample at an index counted from the sound's start, in 8-bit sample units.
using Sound = std::function<double(int)>;

inline Sound Sine(double hertz, double peak) {
    return [=](int i) { return peak * std::sin(2 * M_PI * hertz * i / 22050); };
}
// Mono, 8 bits, 22,050 Hz unless told otherwise; block b ends at 1000 + 23 (b + 1) ms.
class Player {
public:
    static constexpr int Hop = 512;

    explicit Player(std::int32_t rate = 22050, std::int32_t channels = 1, std::int32_t bits = 8)
        : Input(new FedSound(rate, channels, bits)), Recogniser(Input) {
        Recogniser.Open(22050);
        Recogniser.Enable(true);
    }

    // One block of any bytes.
    void Feed(const std::vector<std::uint8_t>& data) {
        Time += 23;
        Input->Feed(Time, data);
    }
    // Blocks of Hop samples of a sound, which starts with the first of them.
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

    std::vector<NoteEntry> TakeEntries() {
        std::vector<NoteEntry> taken;
        std::int32_t time = 0, status = 0, data1 = 0, data2 = 0;
        while (Recogniser.GetNote(&time, &status, &data1, &data2))
            taken.push_back(
                {time, Sonorel::PackMessage(static_cast<std::uint32_t>(status), data1, data2)});
        return taken;
    }
    std::vector<std::uint32_t> TakeMessages() {
        std::vector<std::uint32_t> messages;
        for (const auto& [time, message] : TakeEntries()) messages.push_back(message);
        return messages;
    }
    const Sonorel::FrameState& Now() const { return Recogniser.Now; }

    FedSound* Input; // the recogniser's
    Sonorel::PitchRecWaveIn Recogniser;
    std::uint32_t Time = 1000;
    std::vector<Sonorel::FrameState> Frames; // after each block played
};
