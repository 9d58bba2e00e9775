// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// WAV files: PCM of 8 to 32 bits and floating-point samples.
#include "host/sound/sound_decoder.h"

#include "host/terminal/host_error.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace zorhost {

namespace {

constexpr std::uint32_t Pcm = 1, Float = 3, Extensible = 0xFFFE; // format tags
constexpr std::uint32_t UnknownSize = 0xFFFFFFFF;                // of a recording that was cut off

std::uint32_t Number(const std::uint8_t* bytes, int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i) value |= std::uint32_t{bytes[i]} << 8 * i;
    return value;
}

// bits: of a PCM sample, little-endian; 8 bits are unsigned.
float PcmSample(const std::uint8_t* bytes, int bits) {
    if (bits == 8) return static_cast<float>(bytes[0] - 128) / 128;
    const std::uint32_t high = Number(bytes, bits / 8) << (32 - bits);
    return static_cast<float>(static_cast<std::int32_t>(high)) / 2147483648.0f;
}

float FloatSample(const std::uint8_t* bytes, int bits) {
    float single;
    double wide;
    std::memcpy(&single, bytes, sizeof single);
    if (bits == 32) return single;
    std::memcpy(&wide, bytes, sizeof wide);
    return static_cast<float>(wide);
}

class WaveDecoder : public SoundDecoder {
public:
    explicit WaveDecoder(const std::string& path) : File(std::fopen(path.c_str(), "rb")) {
        if (!File) Fail(path, std::strerror(errno));
        std::uint8_t head[12];
        if (!ReadBytes(head, 12) || std::memcmp(head, "RIFF", 4) != 0 ||
            std::memcmp(head + 8, "WAVE", 4) != 0)
            Fail(path, "it is no WAV file, the only kind that is read on Windows");
        while (ReadBytes(head, 8) && std::memcmp(head, "data", 4) != 0) {
            const std::uint32_t size = Number(head + 4, 4);
            const long next = std::ftell(File.get()) + static_cast<long>(size + size % 2);
            if (std::memcmp(head, "fmt ", 4) == 0) ReadFormat(size);
            if (std::fseek(File.get(), next, SEEK_SET) != 0) break;
        }
        if (Bits == 0) Fail(path, "it is a WAV file of an unknown format");
        Size = std::memcmp(head, "data", 4) == 0 ? Number(head + 4, 4) : 0;
        Begin = std::ftell(File.get());
        std::fseek(File.get(), 0, SEEK_END);
        const auto available = static_cast<std::uint32_t>(std::ftell(File.get()) - Begin);
        Truncated = Size != UnknownSize && available < Size;
        Size = std::min(Size, available);
        Frames = Size / FrameBytes();
        if (Frames == 0) throw HostError("\"" + path + "\" contains no sound");
        WaveDecoder::Rewind();
    }

    std::size_t Read(float* frames, std::size_t count) override {
        const auto left = static_cast<std::size_t>(Frames - Position);
        Bytes.resize(std::min(count, left) * FrameBytes());
        const std::size_t got =
            std::fread(Bytes.data(), FrameBytes(), std::min(count, left), File.get());
        const std::size_t step = static_cast<std::size_t>(Bits) / 8;
        for (std::size_t i = 0; i < got * Channels; ++i)
            frames[i] = (Floats ? FloatSample : PcmSample)(Bytes.data() + i * step, Bits);
        Position += static_cast<std::int64_t>(got);
        return got;
    }
    bool Rewind() override {
        Position = 0;
        return std::fseek(File.get(), Begin, SEEK_SET) == 0;
    }
    bool IsTruncated(std::int64_t read) const override { return Truncated || read < Frames; }

private:
    [[noreturn]] static void Fail(const std::string& path, const std::string& why) {
        throw HostError("\"" + path + "\" cannot be read: " + why);
    }
    bool ReadBytes(std::uint8_t* bytes, std::size_t count) {
        return std::fread(bytes, 1, count, File.get()) == count;
    }
    std::size_t FrameBytes() const { return Channels * static_cast<std::size_t>(Bits) / 8; }

    // Leaves Bits at 0 if the format is unknown.
    void ReadFormat(std::uint32_t size) {
        std::uint8_t format[40] = {};
        if (size < 16 || !ReadBytes(format, std::min<std::size_t>(size, sizeof format))) return;
        std::uint32_t tag = Number(format, 2);
        if (tag == Extensible) tag = Number(format + 24, 2);
        const auto bits = static_cast<int>(Number(format + 14, 2));
        const std::uint32_t rate = Number(format + 4, 4);
        Floats = tag == Float;
        Channels = Number(format + 2, 2);
        Rate = static_cast<int>(std::min(rate, 1000000u));
        const bool known = Floats ? bits == 32 || bits == 64
                                  : tag == Pcm && bits % 8 == 0 && bits >= 8 && bits <= 32;
        if (known && Channels > 0 && Channels <= 1024 && rate >= 1000 && rate <= 1000000)
            Bits = bits;
    }

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> File;
    int Bits = 0;           // per sample
    std::uint32_t Size = 0; // of the data, bytes
    long Begin = 0;         // of the data in the file
    bool Truncated = false; // the file is shorter than in its header
    std::int64_t Position = 0;
    std::vector<std::uint8_t> Bytes;
};

} // namespace

std::unique_ptr<SoundDecoder> OpenSound(const std::string& path) {
    return std::make_unique<WaveDecoder>(path);
}

} // namespace zorhost
