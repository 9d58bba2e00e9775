// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads a sound file from beginning to end as one channel, at its own rate or the recogniser's.
#pragma once

#include "host/sound/frame_analyser.h"

#include <sndfile.h>
#include <soxr.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zorhost {

// The path that stands for standard input.
constexpr char StandardInput[] = "-";

// How the channels of a file are mixed to one.
struct Mixing {
    int Channel = -1; // the only channel used, from 0; below 0: the mean of all
    float Scale = 1;  // factor for each sample
    bool operator==(const Mixing&) const = default;
};

class SoundFile {
public:
    // path: a file, a pipe or StandardInput. A pipe is copied to an unnamed temporary file first.
    // Throws HostError if the file cannot be read or is no sound of a known format.
    explicit SoundFile(const std::string& path, const Mixing& mixing = {});

    // Hz.
    int Rate() const { return Info.samplerate; }
    // Length in seconds according to the header; an estimate in some formats.
    double AnnouncedSeconds() const;
    // Reads and mixes the next samples, -1 to 1. Returns their number, which is less than requested
    // only at the end.
    std::size_t Read(std::span<float> samples);
    // Seconds read so far.
    double Position() const { return static_cast<double>(FramesRead) / Info.samplerate; }
    // At the end: whether the file ended before its announced length.
    bool IsTruncated() const;
    // At the end: if the channels have cancelled each other, or floating-point samples far exceed
    // full scale, chooses another mixing, rewinds and returns true. The caller then reads again.
    bool ChooseMixing();
    // Before the first Read: reads the whole file to choose the mixing, if that may be necessary.
    void Prescan();
    const Mixing& CurrentMixing() const { return Mix; }
    // A message for the user about an unusual mixing; empty for the usual one.
    std::string Remark() const;

private:
    struct CloseStream {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    struct CloseSound {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

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
    void OpenStream(const std::string& path);
    bool IsShorterThanHeader() const;

    std::unique_ptr<std::FILE, CloseStream> Stream;
    std::unique_ptr<SNDFILE, CloseSound> File;
    SF_INFO Info = {};
    std::int64_t FramesRead = 0;
    std::vector<float> Channels; // interleaved frames of one chunk
    bool Floats = false;         // the file contains floating-point samples
    Mixing Mix;
    Statistics Stats;
};

// A frame of the recogniser, at 22,050 Hz.
using Block = std::array<float, FrameSamples>;

// Reads a sound file at the recogniser's rate.
class Resampler {
public:
    // Throws HostError if the file's rate cannot be converted.
    explicit Resampler(SoundFile& file);
    // Returns the number of samples read, which is less than requested only at the end.
    std::size_t Read(std::span<float> samples) {
        return soxr_output(Converter.get(), samples.data(), samples.size());
    }

private:
    struct Free {
        void operator()(soxr* converter) const { soxr_delete(converter); }
    };
    static std::size_t Supply(void* self, soxr_in_t* data, std::size_t wanted);

    SoundFile& File;
    std::array<float, 4096> Chunk; // input of the converter
    std::unique_ptr<soxr, Free> Converter;
};

} // namespace zorhost
