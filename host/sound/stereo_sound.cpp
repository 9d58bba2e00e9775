// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/stereo_sound.h"

#include "host/terminal/host_error.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sndfile.h>
#include <sys/mman.h>
#include <unistd.h>

namespace zorhost {

namespace {

int FormatOf(const std::string& path) {
    std::string name = std::filesystem::path(path).extension().string();
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (name == ".wav") return SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    if (name == ".flac") return SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    if (name == ".ogg" || name == ".oga") return SF_FORMAT_OGG | SF_FORMAT_VORBIS;
    throw HostError("\"" + path + "\": the name must end in .wav, .flac or .ogg", ExitWrongUse);
}

constexpr float FullScale = 32767.0f / 32768;
constexpr double RetryFactor = 0.99; // of what would suffice if Vorbis scaled exactly

// Throws HostError unless the disk had room.
void CheckStored(bool stored) {
    if (!stored) throw HostError("no disk space is left to store the sound while it is made");
}

TemporaryFile MakeTemporaryFile() {
    TemporaryFile file(std::tmpfile(), &std::fclose);
    CheckStored(file != nullptr);
    return file;
}

// Ogg's checksum: a CRC of polynomial 0x04C11DB7 without reflection, from 0 (RFC 3533, section 6).
std::uint32_t PageChecksum(std::span<const std::uint8_t> page) {
    std::uint32_t sum = 0;
    for (const std::uint8_t byte : page) {
        sum ^= std::uint32_t{byte} << 24;
        for (int bit = 0; bit < 8; ++bit) sum = sum << 1 ^ (sum >> 31 ? 0x04C11DB7u : 0);
    }
    return sum;
}

// The library numbers its streams at random: the same sound shall give the same bytes.
void SetSerialNumber(std::span<std::uint8_t> pages) {
    constexpr std::size_t serial = 14, checksum = 22, segments = 26, header = 27;
    while (pages.size() >= header && std::memcmp(pages.data(), "OggS", 4) == 0) {
        std::size_t size = header + pages[segments];
        for (std::size_t i = 0; i < pages[segments] && header + i < pages.size(); ++i)
            size += pages[header + i];
        if (size > pages.size()) return;
        const auto page = pages.first(size);
        std::fill_n(page.begin() + serial, 4, std::uint8_t{1});
        std::fill_n(page.begin() + checksum, 4, std::uint8_t{0});
        const std::uint32_t sum = PageChecksum(page);
        for (int i = 0; i < 4; ++i)
            page[checksum + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(sum >> 8 * i);
        pages = pages.subspan(size);
    }
}

// The loudest sample of an encoded sound; 1 is full scale.
double DecodedPeak(std::FILE* encoded) {
    lseek(fileno(encoded), 0, SEEK_SET); // the library takes the position for the file's start
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> sound(
        sf_open_fd(fileno(encoded), SFM_READ, &info, SF_FALSE), &sf_close);
    double peak = 0;
    if (!sound || sf_command(sound.get(), SFC_CALC_NORM_SIGNAL_MAX, &peak, sizeof peak) != 0)
        throw HostError(std::string("the sound cannot be read back: ") + sf_strerror(sound.get()));
    return peak;
}

// Replaces the file by the contents of the temporary one.
void Copy(std::FILE* from, const OutputFile& file, bool ogg) {
    const std::uintmax_t size = static_cast<std::uintmax_t>(lseek(fileno(from), 0, SEEK_END));
    void* const bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE, fileno(from), 0);
    if (bytes == MAP_FAILED) throw HostError("out of memory");
    const std::unique_ptr<void, std::function<void(void*)>> unmap(
        bytes, [size](void* all) { munmap(all, size); });
    const std::span<std::uint8_t> all(static_cast<std::uint8_t*>(bytes), size);
    if (ogg) SetSerialNumber(all);
    file.Write({all.data(), all.size()});
}

} // namespace

void CheckSoundName(const std::string& path) { FormatOf(path); }

StereoSound::StereoSound(int rate) : Rate(rate), Samples(MakeTemporaryFile()) {}

void StereoSound::Append(std::span<const float> frames) {
    CheckStored(std::fwrite(frames.data(), sizeof(float), frames.size(), Samples.get()) ==
                frames.size());
    SampleCount += frames.size();
    for (const float sample : frames) Peak = std::max(Peak, std::fabs(sample));
}

void StereoSound::Finish() {
    CheckStored(std::fflush(Samples.get()) == 0);
    std::rewind(Samples.get());
    if (Peak > FullScale) Factor = FullScale / Peak;
}

std::size_t StereoSound::Read(std::span<float> frames) {
    const std::size_t count =
        std::fread(frames.data(), sizeof(float), frames.size(), Samples.get());
    for (float& sample : frames.first(count)) sample *= Factor;
    return count;
}

void StereoSound::Encode(std::FILE* encoded, int format) {
    SF_INFO info{0, Rate, 2, format, 0, 0};
    SNDFILE* const sound = sf_open_fd(fileno(encoded), SFM_WRITE, &info, SF_FALSE);
    if (!sound)
        throw HostError(std::string("the sound cannot be written: ") + sf_strerror(nullptr));
    std::array<float, 4096> frames{};
    bool written = true;
    std::rewind(Samples.get());
    while (const std::size_t count = Read(frames)) {
        const auto wanted = static_cast<sf_count_t>(count);
        written = written && sf_write_float(sound, frames.data(), wanted) == wanted;
    }
    CheckStored(sf_close(sound) == 0 && written);
}

void StereoSound::Write(const OutputFile& file) {
    const int format = FormatOf(file.Path());
    const bool ogg = (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG;
    for (;;) {
        const TemporaryFile encoded = MakeTemporaryFile();
        Encode(encoded.get(), format);
        const double peak = ogg ? DecodedPeak(encoded.get()) : 0;
        if (peak <= FullScale) return Copy(encoded.get(), file, ogg);
        Factor *= static_cast<float>(RetryFactor / peak);
    }
}

} // namespace zorhost
