// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/sound_file.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace zorhost {

namespace {

constexpr sf_count_t Chunk = 4096; // frames
// Floating-point files can contain unscaled 32-bit integers. A greater absolute value is damage.
constexpr float HugeSample = 1e10f;
constexpr double CancelledEnergy = 0.01; // of the loudest channel: -20 dB

[[noreturn]] void CannotRead(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" cannot be read: " + why);
}

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

// Copies a pipe to an unnamed temporary file, since decoders need to seek.
std::FILE* CopyToTempFile(std::FILE* source, const std::string& path) {
    std::FILE* target = std::tmpfile();
    if (!target) CannotRead(path, std::strerror(errno));
    std::array<char, 65536> bytes;
    while (!Interrupted()) {
        const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), source);
        if (got == 0) break;
        if (std::fwrite(bytes.data(), 1, got, target) == got) continue;
        std::fclose(target);
        CannotRead(path, "no disk space is left for a copy");
    }
    std::fflush(target);
    std::rewind(target);
    return target;
}

} // namespace

SoundFile::SoundFile(const std::string& path, const Mixing& how) : Mix(how) {
    OpenStream(path);
    File.reset(sf_open_fd(fileno(Stream.get()), SFM_READ, &Info, SF_FALSE));
    if (!File) CannotRead(path, "it is no sound file, or of an unknown format");
    if (Info.frames <= 0 || Info.channels < 1 || Info.samplerate < 1) {
        throw HostError("\"" + path + "\" contains no sound");
    }
    Channels.resize(static_cast<std::size_t>(Chunk * Info.channels));
    Stats.Energies.resize(static_cast<std::size_t>(Info.channels));
    const int kind = Info.format & SF_FORMAT_SUBMASK;
    Floats = kind == SF_FORMAT_FLOAT || kind == SF_FORMAT_DOUBLE;
}

void SoundFile::OpenStream(const std::string& path) {
    const InterruptibleReads wait;
    Stream.reset(path == StandardInput ? fdopen(dup(STDIN_FILENO), "rb")
                                       : std::fopen(path.c_str(), "rb"));
    struct stat about = {};
    if (!Stream || fstat(fileno(Stream.get()), &about) != 0) {
        CannotRead(path, std::strerror(errno));
    }
    if (S_ISDIR(about.st_mode)) CannotRead(path, "it is a folder");
    if (!S_ISREG(about.st_mode)) {
        Stream.reset(CopyToTempFile(Stream.get(), path));
        fstat(fileno(Stream.get()), &about);
    }
    if (about.st_size == 0) CannotRead(path, "it is empty");
}

double SoundFile::AnnouncedSeconds() const {
    return static_cast<double>(Info.frames) / static_cast<double>(Info.samplerate);
}

std::size_t SoundFile::Read(std::span<float> samples) {
    std::size_t done = 0;
    while (done < samples.size()) {
        const auto wanted =
            std::min<sf_count_t>(Chunk, static_cast<sf_count_t>(samples.size() - done));
        const sf_count_t got = sf_readf_float(File.get(), Channels.data(), wanted);
        if (got <= 0) break;
        FramesRead += got;
        if (Floats) Clean(std::span(Channels).first(static_cast<std::size_t>(got * Info.channels)));
        MixDown(samples.subspan(done, static_cast<std::size_t>(got)));
        done += static_cast<std::size_t>(got);
    }
    return done;
}

// Replaces NaN, infinity and huge samples by silence, since they would stay in every filter.
void SoundFile::Clean(std::span<float> samples) {
    const float scale = Mix.Scale;
    const auto fits = [scale](float sample) { return std::fabs(sample * scale) < HugeSample; };
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
    const auto count = static_cast<std::size_t>(Info.channels);
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
    else if (Mix.Channel < 0 && Stats.MeanEnergy < *loudest * CancelledEnergy)
        Mix.Channel = static_cast<int>(loudest - Stats.Energies.begin());
    return Mix != before && Rewind();
}

bool SoundFile::Rewind() {
    if (sf_seek(File.get(), 0, SEEK_SET) != 0) return false;
    FramesRead = 0;
    Stats = {.Energies = std::vector<double>(Stats.Energies.size())};
    return true;
}

void SoundFile::Prescan() {
    if ((Info.channels == 1 && !Floats) || !Info.seekable) return;
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

bool SoundFile::IsTruncated() const {
    // The announced length of an MP3 is an estimate.
    if ((Info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) return false;
    return sf_error(File.get()) != SF_ERR_NO_ERROR || FramesRead < Info.frames ||
           IsShorterThanHeader();
}

// libsndfile shortens a WAV or AIFF whose header announces more sound than the file contains
// without an error. Only its log mentions it.
bool SoundFile::IsShorterThanHeader() const {
    std::array<char, 16384> log = {};
    sf_command(File.get(), SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size() - 1));
    const char* data = std::strstr(log.data(), "data :");
    if (!data) data = std::strstr(log.data(), "SSND :");
    if (!data) return false;
    const std::string line(data, std::strcspn(data, "\n"));
    return line.find("should be") != std::string::npos;
}

Resampler::Resampler(SoundFile& file) : File(file), Chunk() {
    const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    Converter.reset(
        soxr_create(file.Rate(), AnalysisRate, 1, nullptr, &samples, &quality, &runtime));
    if (!Converter || soxr_set_input_fn(Converter.get(), &Supply, this, Chunk.size())) {
        throw HostError("the sound cannot be resampled to the rate of the recogniser");
    }
}

// Input callback of soxr.
std::size_t Resampler::Supply(void* self, soxr_in_t* data, std::size_t wanted) {
    auto& resampler = *static_cast<Resampler*>(self);
    *data = resampler.Chunk.data();
    return resampler.File.Read(
        std::span(resampler.Chunk).first(std::min(wanted, resampler.Chunk.size())));
}

} // namespace zorhost
