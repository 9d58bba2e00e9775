// A sound file, read once from its beginning to its end as one channel, at its own rate or the
// recogniser's.
#pragma once

#include "host/frame_maker.h"

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

class SoundFile {
public:
    // A pipe or a terminal is read to its end first, into a file without a name. Throws HostError
    // if that is no sound of a kind that can be read.
    explicit SoundFile(const std::string& path);

    int Rate() const { return Info.samplerate; }
    // What the file says of itself, in seconds; of some kinds a guess.
    double Announced() const;
    // Fills with the mean of the channels, -1 to 1. Less than asked for at the end only.
    std::size_t Read(std::span<float> samples);
    // Seconds read.
    double Position() const { return static_cast<double>(Taken) / Info.samplerate; }
    // After the end: whether there should have been more.
    bool BrokeOff() const;

private:
    struct CloseStream {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    struct CloseSound {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    void Mix(std::span<float> mean) const;
    void OpenStream(const std::string& path);
    bool CutShort() const;

    std::unique_ptr<std::FILE, CloseStream> Stream;
    std::unique_ptr<SNDFILE, CloseSound> File;
    SF_INFO Info = {};
    std::int64_t Taken = 0; // frames
    std::vector<float> Channels;
};

// At the recogniser's rate.
using Block = std::array<float, FrameSamples>;

class Resampled {
public:
    // Throws HostError if there is no way from the file's rate.
    explicit Resampled(SoundFile& file);
    // Less than a block at the end only.
    std::size_t Read(Block& block) {
        return soxr_output(Converter.get(), block.data(), block.size());
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
