// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/sound_file.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "zorhearing/channels.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace zorhost {

namespace {

constexpr std::size_t Chunk = 4096; // frames

// Mixes channels to their mean. Count is a number, or an integral_constant so that the loop
// vectorises.
template <class Count>
void Average(const float* samples, Count count, std::span<float> mean) {
    const float share = 1 / static_cast<float>(count);
    float* target = mean.data();
    const std::size_t frames = mean.size();
    for (std::size_t i = 0; i < frames; ++i) {
        float sum = 0;
        for (std::size_t channel = 0; channel < count; ++channel)
            sum += samples[i * count + channel];
        target[i] = sum * share;
    }
}

// The energy of one channel of interleaved samples. Every seventh frame is enough for a comparison.
double Energy(const float* samples, std::size_t frames, std::size_t channels) {
    constexpr std::size_t step = 7;
    float sum = 0;
    for (std::size_t i = 0; i < frames; i += step)
        sum += samples[i * channels] * samples[i * channels];
    return sum;
}

} // namespace

SoundFile::SoundFile(const std::string& path, const Mixing& how)
    : File(OpenSound(path)), Channels(Chunk * File->Channels), Mix(how) {
    Stats.Energies.resize(File->Channels);
}

std::size_t SoundFile::Read(std::span<float> samples) {
    std::size_t done = 0;
    while (done < samples.size()) {
        const std::size_t wanted = std::min(Chunk, samples.size() - done);
        const std::size_t got = File->Read(Channels.data(), wanted);
        if (got == 0) break;
        FramesRead += static_cast<std::int64_t>(got);
        if (File->Floats) Clean(std::span(Channels).first(got * File->Channels));
        MixDown(samples.subspan(done, got));
        done += got;
    }
    return done;
}

// Replaces NaN, infinity and huge samples by silence, since they would stay in every filter.
void SoundFile::Clean(std::span<float> samples) {
    const float scale = Mix.Scale;
    const auto fits = [scale](float sample) {
        return std::fabs(sample * scale) < zorhearing::HugeSample;
    };
    std::int32_t normal = 0, silent = 0;
    for (const float sample : samples) {
        normal += fits(sample);
        silent += sample == 0;
    }
    Stats.NormalSamples += normal - silent;
    for (const float sample : samples.first(normal == std::ssize(samples) ? 0 : samples.size())) {
        if (fits(sample) || !std::isfinite(sample)) continue;
        ++Stats.HugeSamples;
        Stats.HugePeak = std::max(Stats.HugePeak, std::fabs(sample));
    }
    for (float& sample : samples) sample = fits(sample) ? sample * scale : 0;
}

void SoundFile::MixDown(std::span<float> mono) {
    const std::size_t count = File->Channels;
    const float* const frames = Channels.data();
    if (Mix.Channel >= 0) {
        for (std::size_t i = 0; i < mono.size(); ++i)
            mono[i] = frames[i * count + static_cast<std::size_t>(Mix.Channel)];
        return;
    }
    if (count == 1) {
        std::ranges::copy_n(frames, std::ssize(mono), mono.begin());
        return;
    }
    if (count == 2)
        Average(frames, std::integral_constant<std::size_t, 2>(), mono);
    else
        Average(frames, count, mono);
    Stats.MeanEnergy += Energy(mono.data(), mono.size(), 1);
    for (std::size_t channel = 0; channel < count; ++channel)
        Stats.Energies[channel] += Energy(frames + channel, mono.size(), count);
}

// Each fault is repaired once: first the scale, then cancelled channels.
bool SoundFile::ChooseMixing() {
    const Mixing before = Mix;
    const auto loudest = std::ranges::max_element(Stats.Energies);
    if (Stats.HugeSamples > Stats.NormalSamples && Mix.Scale == 1)
        Mix.Scale = 1 / Stats.HugePeak;
    else if (Mix.Channel < 0 && Stats.MeanEnergy < *loudest * zorhearing::CancelledEnergy)
        Mix.Channel = static_cast<int>(loudest - Stats.Energies.begin());
    return Mix != before && Rewind();
}

bool SoundFile::Rewind() {
    if (!File->Rewind()) return false;
    FramesRead = 0;
    Stats = {.Energies = std::vector<double>(Stats.Energies.size())};
    return true;
}

void SoundFile::Prescan() {
    if (File->Channels == 1 && !File->Floats) return;
    std::vector<float> passed(Chunk);
    do {
        while (Read(passed) == passed.size() && !Interrupted()) {
        }
    } while (ChooseMixing());
    Rewind();
}

std::string SoundFile::Remark() const {
    std::string text;
    if (Mix.Scale != 1)
        text = "its samples far exceed full scale, so the greatest counts as full scale";
    if (Mix.Channel < 0) return text;
    return text + (text.empty() ? "" : "; ") + "its channels cancel each other, so channel " +
           std::to_string(Mix.Channel + 1) + " alone is used";
}

} // namespace zorhost
