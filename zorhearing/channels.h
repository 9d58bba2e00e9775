// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Mixes the channels of a sound to one.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace zorhearing {

// A greater absolute value is damage; floating-point files can contain unscaled 32-bit integers.
constexpr float HugeSample = 1e10f;
// Channels with a mean of less energy have cancelled each other. A share of the loudest channel's:
// -20 dB.
constexpr double CancelledEnergy = 0.01;

// Interleaved samples in, their mean and one of the channels out. Real-time safe: yes, but for the
// constructor.
class ChannelMixer {
public:
    static constexpr std::size_t MaxFrames = 1024; // samples per channel in one call

    // floats: samples are 32-bit floating-point numbers instead of 16-bit integers. Throws
    // std::bad_alloc.
    ChannelMixer(std::size_t channels, bool floats);

    // Reads count samples per channel, at most MaxFrames. NaN, infinity and what is damaged count
    // as silence. samples need not be aligned.
    void Mix(const void* samples, std::size_t count);

    // What the last call has mixed.
    std::span<const float> Mean() const { return std::span(MeanSamples).first(Count); }
    // The same samples of the loudest of several channels, as chosen at the first sound.
    std::span<const float> Loudest() const { return std::span(LoudestSamples).first(Count); }
    // Whether the channels so far have cancelled each other in the mean.
    bool Cancels() const;
    // Whether there was sound that they have not cancelled.
    bool Adds() const;

    std::size_t BytesPerFrame() const { return Channels * (Floats ? 4 : 2); }

private:
    void Read(const void* samples);
    void Choose(const float* frame);
    double LoudestEnergy() const;

    std::size_t Channels;
    bool Floats;
    std::size_t Count = 0;
    std::size_t LoudestChannel = 0;
    bool HasChosen = false;    // the loudest channel
    std::vector<float> Frames; // interleaved
    std::vector<float> MeanSamples;
    std::vector<float> LoudestSamples;
    double MeanEnergy = 0;
    std::vector<double> Energies; // of each channel
};

} // namespace zorhearing
