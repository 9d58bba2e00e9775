// What the sound tests share: sound files, a signal whose every frame is known, time.
#pragma once

#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace sound {

// A file in a folder of its own that goes away with the object.
class TempFile {
public:
    explicit TempFile(const std::string& name);
    ~TempFile();
    const std::string& Path() const { return path_; }

private:
    std::filesystem::path folder_;
    std::string path_;
};

using Signal = std::function<float(std::uint64_t frame, unsigned channel)>;

// format: SF_FORMAT_ values of libsndfile.
void WriteSound(const std::string& path, int format, unsigned rate, unsigned channels,
                std::uint64_t frames, const Signal& signal);

// The 16 bits of the frame's number, other ones for the right channel: exact in 16-bit PCM.
std::int16_t RampSample(std::uint64_t frame, unsigned channel);
machine::Generator Ramp();

WAVEFORMATEX Wave(unsigned rate, unsigned channels, unsigned bits);

// Samples of 16-bit PCM.
std::vector<std::int16_t> Words(const void* pcm, std::size_t bytes);

// The millisecond in which this many frames at this rate are complete.
std::uint32_t MillisecondOf(std::uint32_t start, std::uint64_t frames, unsigned rate);

} // namespace sound
