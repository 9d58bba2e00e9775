// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads a sound file from beginning to end as one channel.
#pragma once

#include "host/sound/sound_decoder.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zorhost {

// How the channels of a file are mixed to one.
struct Mixing {
    int Channel = -1; // the only channel used, from 0; below 0: the mean of all
    float Scale = 1;  // factor for each sample
    bool operator==(const Mixing&) const = default;
};

class SoundFile {
public:
    // As OpenSound.
    explicit SoundFile(const std::string& path, const Mixing& mixing = {});

    // Hz.
    int Rate() const { return File->Rate; }
    // Length in seconds according to the header; an estimate in some formats.
    double AnnouncedSeconds() const { return static_cast<double>(File->Frames) / File->Rate; }
    // Reads and mixes the next samples, -1 to 1. Returns their number, which is less than requested
    // only at the end.
    std::size_t Read(std::span<float> samples);
    // Seconds read so far.
    double Position() const { return static_cast<double>(FramesRead) / File->Rate; }
    // At the end: whether the file ended before its announced length.
    bool IsTruncated() const { return File->IsTruncated(FramesRead); }
    // At the end: if the channels have cancelled each other, or floating-point samples far exceed
    // full scale, chooses another mixing, rewinds and returns true. The caller then reads again.
    bool ChooseMixing();
    // Before the first Read: reads the whole file to choose the mixing, if that may be necessary.
    void Prescan();
    const Mixing& CurrentMixing() const { return Mix; }
    // A message for the user about an unusual mixing; empty for the usual one.
    std::string Remark() const;

private:
    // Gathered while reading, to choose the mixing.
    struct Statistics {
        std::int64_t NormalSamples = 0; // neither zero nor huge
        std::int64_t HugeSamples = 0;   // finite, but huge
        float HugePeak = 0;             // greatest absolute value of the huge samples
        double MeanEnergy = 0;          // of the mean of all channels
        std::vector<double> Energies;   // of each channel, if there are several
    };

    bool Rewind();
    void Clean(std::span<float> samples);
    void MixDown(std::span<float> mono);

    std::unique_ptr<SoundDecoder> File;
    std::int64_t FramesRead = 0;
    std::vector<float> Channels; // interleaved frames of one chunk
    Mixing Mix;
    Statistics Stats;
};

} // namespace zorhost
