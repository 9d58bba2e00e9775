#include "tests/platform/audio_support.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstring>

namespace sound {

TempFile::TempFile(const std::string& name) {
    std::string pattern = (std::filesystem::temp_directory_path() / "zorsoundXXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
    path_ = (folder_ / name).string();
}

TempFile::~TempFile() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void WriteSound(const std::string& path, int format, unsigned rate, unsigned channels,
                std::uint64_t frames, const Signal& signal) {
    SF_INFO info = {};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    std::vector<float> samples;
    for (std::uint64_t frame = 0; frame < frames; ++frame)
        for (unsigned channel = 0; channel < channels; ++channel)
            samples.push_back(signal(frame, channel));
    EXPECT_EQ(sf_writef_float(file, samples.data(), static_cast<sf_count_t>(frames)),
              static_cast<sf_count_t>(frames));
    sf_close(file);
}

std::int16_t RampSample(std::uint64_t frame, unsigned channel) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(frame * 3 + channel * 20011));
}

machine::Generator Ramp() {
    return [](const machine::FeedRequest& request) {
        std::uint64_t frame = request.First;
        for (std::size_t i = 0; i < request.Samples.size(); i += request.Channels, ++frame)
            for (unsigned channel = 0; channel < request.Channels; ++channel)
                request.Samples[i + channel] =
                    static_cast<float>(RampSample(frame, channel)) / 32768.0f;
    };
}

WAVEFORMATEX Wave(unsigned rate, unsigned channels, unsigned bits) {
    WAVEFORMATEX wave = {};
    wave.wFormatTag = WAVE_FORMAT_PCM;
    wave.nChannels = static_cast<WORD>(channels);
    wave.nSamplesPerSec = rate;
    wave.wBitsPerSample = static_cast<WORD>(bits);
    wave.nBlockAlign = static_cast<WORD>(channels * bits / 8);
    wave.nAvgBytesPerSec = rate * wave.nBlockAlign;
    return wave;
}

std::vector<std::int16_t> Words(const void* pcm, std::size_t bytes) {
    std::vector<std::int16_t> words(bytes / 2);
    if (!words.empty()) std::memcpy(words.data(), pcm, words.size() * 2);
    return words;
}

std::uint32_t MillisecondOf(std::uint32_t start, std::uint64_t frames, unsigned rate) {
    const std::uint64_t microseconds = (frames * 1'000'000 + rate - 1) / rate;
    return start + static_cast<std::uint32_t>(microseconds / 1000);
}

} // namespace sound
