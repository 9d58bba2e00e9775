// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/channels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace zorhearing {

namespace {

constexpr float AudibleSample = 0.001f; // -60 dB

} // namespace

ChannelMixer::ChannelMixer(std::size_t channels, bool floats)
    : Channels(channels), Floats(floats), Frames(channels * MaxFrames), MeanSamples(MaxFrames),
      LoudestSamples(MaxFrames), Energies(channels) {}

void ChannelMixer::Read(const void* samples) {
    const auto* bytes = static_cast<const std::uint8_t*>(samples);
    for (std::size_t i = 0; i < Count * Channels; ++i) {
        if (Floats) {
            float sample;
            std::memcpy(&sample, bytes + 4 * i, sizeof sample);
            Frames[i] = std::fabs(sample) < HugeSample ? sample : 0; // not NaN either
        } else {
            std::int16_t sample;
            std::memcpy(&sample, bytes + 2 * i, sizeof sample);
            Frames[i] = static_cast<float>(sample) / 32768;
        }
    }
}

void ChannelMixer::Mix(const void* samples, std::size_t count) {
    Count = count;
    Read(samples);
    if (Channels == 1) { // nothing can cancel
        std::copy_n(Frames.begin(), count, MeanSamples.begin());
        return;
    }
    const float share = 1 / static_cast<float>(Channels);
    for (std::size_t i = 0; i < count; ++i) {
        const float* frame = Frames.data() + i * Channels;
        if (!HasChosen) Choose(frame);
        float sum = 0;
        for (std::size_t channel = 0; channel < Channels; ++channel) {
            sum += frame[channel];
            Energies[channel] += double{frame[channel]} * frame[channel];
        }
        MeanSamples[i] = sum * share;
        MeanEnergy += double{MeanSamples[i]} * MeanSamples[i];
        LoudestSamples[i] = frame[LoudestChannel];
    }
}

void ChannelMixer::Choose(const float* frame) {
    for (std::size_t channel = 0; channel < Channels; ++channel)
        if (std::fabs(frame[channel]) > std::fabs(frame[LoudestChannel])) LoudestChannel = channel;
    HasChosen = std::fabs(frame[LoudestChannel]) > AudibleSample;
}

bool ChannelMixer::Cancels() const { return MeanEnergy < LoudestEnergy() * CancelledEnergy; }

bool ChannelMixer::Adds() const { return LoudestEnergy() > 0 && !Cancels(); }

double ChannelMixer::LoudestEnergy() const {
    return *std::max_element(Energies.begin(), Energies.end());
}

} // namespace zorhearing
