// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads a sound file at the recogniser's rate.
#pragma once

#include "host/sound/sound_file.h"
#include "zorhearing/frame_analyser.h"
#include "zorhearing/resampler.h"

#include <array>
#include <memory>
#include <span>

namespace zorhost {

using zorhearing::AnalysisRate;
using zorhearing::Block;
using zorhearing::FrameSamples;

class ResampledFile {
public:
    // Throws HostError if the file's rate cannot be converted.
    explicit ResampledFile(SoundFile& file);
    // Returns the number of samples read, which is less than requested only at the end.
    std::size_t Read(std::span<float> samples);

private:
    SoundFile& File;
    std::unique_ptr<zorhearing::Resampler> Converter;
    std::array<float, zorhearing::Resampler::MaxSamples> Chunk; // input of the converter
    std::span<const float> Ready;                               // converted, and not read yet
    bool Ended = false;                                         // nothing more comes from the file
};

} // namespace zorhost
