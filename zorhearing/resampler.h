// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Converts samples of any rate to the recogniser's.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace zorhearing {

// The samples that came out so far are valid until the next call.
class Resampler {
public:
    virtual ~Resampler() = default;
    // Converts the next samples, at most MaxSamples.
    virtual std::span<const float> Feed(std::span<const float> samples) = 0;
    // Returns what is left at the end of the sound.
    virtual std::span<const float> Finish() = 0;

    static constexpr std::size_t MaxSamples = 4096;
};

// Real-time safe: Feed allocates nothing. The same samples come out on every system.
//
// Interpolates by a windowed sinc (J. O. Smith, "Digital Audio Resampling",
// https://ccrma.stanford.edu/~jos/resample/), from filters at 512 positions between two samples.
// Below 0.7 of half the lower rate it differs from the sound by less than -80 dB, and what would
// alias there is as soft. The delay is 32 periods of the lower rate.
class SincResampler : public Resampler {
public:
    // rate: of the input, Hz, 8,000 to 192,000. Throws std::bad_alloc.
    explicit SincResampler(int rate);
    std::span<const float> Feed(std::span<const float> samples) override;
    std::span<const float> Finish() override;

private:
    std::size_t Taps;           // filter length in input samples, a multiple of 8
    std::vector<float> Filters; // of Taps each, by position; the last one is the next sample's
    std::vector<float> Input;   // what the next outputs need
    std::size_t InputCount;
    int Rate;
    // Position of the next output's first tap in Input: whole input samples, and parts of one, of
    // which a sample has as many as the analysis rate has samples per second.
    std::size_t Position = 0;
    int Part = 0;
    std::vector<float> Output;
};

// The best one for a whole recording, not real-time safe: the system's library for it, or else the
// one above. Throws std::bad_alloc.
std::unique_ptr<Resampler> MakeResampler(int rate);

} // namespace zorhearing
