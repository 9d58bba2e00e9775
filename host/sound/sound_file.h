// A sound file, read once from its beginning to its end as one channel, at its own rate or the
// recogniser's.
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

// The path of what is piped in.
constexpr char StandardInput[] = "-";

// How a file's channels become one.
struct Mixing {
    int Channel = -1; // this one alone, from 0; below 0 the mean of all
    float Scale = 1;  // that every sample is multiplied by
    bool operator==(const Mixing&) const = default;
};

class SoundFile {
public:
    // A pipe or a terminal is read to its end first, into a file without a name. Throws HostError
    // if that is no sound of a kind that can be read.
    explicit SoundFile(const std::string& path, const Mixing& how = {});

    int Rate() const { return Info.samplerate; }
    // What the file says of itself, in seconds; of some kinds a guess.
    double Announced() const;
    // Fills with the mean of the channels, -1 to 1. Less than asked for at the end only.
    std::size_t Read(std::span<float> samples);
    // Seconds read.
    double Position() const { return static_cast<double>(Taken) / Info.samplerate; }
    // After the end: whether there should have been more.
    bool BrokeOff() const;
    // After the end: whether what was read was nearly nothing although the file holds sound, since
    // its channels cancel each other or its floats are beyond all scales. Then the next Read begins
    // anew and hears it, and How and Remark tell in which way.
    bool ReadAnew();
    // The same for a Read that comes later: reads all, if the file is of a kind that may need it.
    void Survey();
    const Mixing& How() const { return Mix; }
    // What the user is told of it; empty if there is nothing to tell.
    std::string Remark() const;

private:
    struct CloseStream {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    struct CloseSound {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    // What a pass over the file comes across.
    struct Findings {
        std::int64_t Sane = 0;   // samples that are neither silent nor beyond all scales
        std::int64_t Absurd = 0; // numbers that are
        float Greatest = 0;      // of the absurd that are numbers
        double MeanEnergy = 0;
        std::vector<double> Energies; // of each channel, if there are several
    };

    bool Rewind();
    void Clean(std::span<float> samples);
    void MixDown(std::span<float> mono);
    void OpenStream(const std::string& path);
    bool CutShort() const;

    std::unique_ptr<std::FILE, CloseStream> Stream;
    std::unique_ptr<SNDFILE, CloseSound> File;
    SF_INFO Info = {};
    std::int64_t Taken = 0; // frames
    std::vector<float> Channels;
    bool Floats = false; // its samples
    Mixing Mix;
    Findings Seen;
};

// At the recogniser's rate.
using Block = std::array<float, FrameSamples>;

class Resampled {
public:
    // Throws HostError if there is no way from the file's rate.
    explicit Resampled(SoundFile& file);
    // Less than asked for at the end only.
    std::size_t Read(std::span<float> samples) {
        return soxr_output(Converter.get(), samples.data(), samples.size());
    }

private:
    struct Free {
        void operator()(soxr* converter) const { soxr_delete(converter); }
    };
    static std::size_t Supply(void* self, soxr_in_t* data, std::size_t wanted);

    SoundFile& File;
    std::array<float, 4096> Chunk;
    std::unique_ptr<soxr, Free> Converter;
};

} // namespace zorhost
