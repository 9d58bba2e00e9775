// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Stereo sound that is made, and written to a sound file.
#pragma once

#include "host/recording/output_file.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace zorhost {

using TemporaryFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// Throws HostError, for a wrong use, if the name does not end in .wav, .flac, .ogg or .oga.
void CheckSoundName(const std::string& path);

// Frames of two samples, left and right, in a temporary file. Full scale is 1; louder samples are
// kept. Each function throws HostError if the disk is full.
class StereoSound {
public:
    explicit StereoSound(int rate); // Hz

    void Append(std::span<const float> frames);
    // Call it once, after the last Append and before Read or Write, which multiply by Scale() from
    // then on: it keeps the loudest sample below full scale, and is 1 if nothing is louder.
    void Finish();
    // Reads the next frames. Returns the number of samples, which is less only at the end.
    std::size_t Read(std::span<float> frames);
    // Writes all frames in 16 bits or as Ogg Vorbis, as the file's name asks. The same frames give
    // the same bytes. Vorbis changes the samples: Scale() is less afterwards if they exceeded full
    // scale when decoded.
    void Write(const OutputFile& file);

    const int Rate;
    std::int64_t FrameCount() const { return static_cast<std::int64_t>(SampleCount / 2); }
    float Scale() const { return Factor; }

private:
    void Encode(std::FILE* encoded, int format);

    TemporaryFile Samples;
    std::size_t SampleCount = 0;
    float Peak = 0, Factor = 1;
};

} // namespace zorhost
