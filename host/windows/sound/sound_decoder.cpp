// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// WAV files of PCM of 8 to 32 bits and of floating-point samples; Media Foundation decodes others.
#include "host/sound/sound_decoder.h"

#include "host/terminal/host_error.h"
#include "host/windows/sound/media_foundation.h"
#include "host/windows/sound/samples.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

namespace zorhost {

namespace {

constexpr std::uint32_t Pcm = 1, Float = 3, Extensible = 0xFFFE; // format tags
constexpr std::uint32_t UnknownSize = 0xFFFFFFFF;                // of a recording that was cut off

class WaveDecoder : public SoundDecoder {
public:
    // An open file.
    explicit WaveDecoder(std::FILE* file) : File(file) {}

    // Reads the header. False if the file is none of a known format.
    bool Open(const std::string& path) {
        std::uint8_t head[12];
        if (!ReadBytes(head, 12) || std::memcmp(head, "RIFF", 4) != 0 ||
            std::memcmp(head + 8, "WAVE", 4) != 0)
            return false;
        while (ReadBytes(head, 8) && std::memcmp(head, "data", 4) != 0) {
            const std::uint32_t size = Number(head + 4, 4);
            const long next = std::ftell(File.get()) + static_cast<long>(size + size % 2);
            if (std::memcmp(head, "fmt ", 4) == 0) ReadFormat(size);
            if (std::fseek(File.get(), next, SEEK_SET) != 0) break;
        }
        if (Format.Bits == 0) return false;
        Size = std::memcmp(head, "data", 4) == 0 ? Number(head + 4, 4) : 0;
        Begin = std::ftell(File.get());
        std::fseek(File.get(), 0, SEEK_END);
        const auto available = static_cast<std::uint32_t>(std::ftell(File.get()) - Begin);
        Truncated = Size != UnknownSize && available < Size;
        Size = std::min(Size, available);
        Frames = Size / FrameBytes();
        if (Frames == 0) throw HostError("\"" + path + "\" contains no sound");
        return Rewind();
    }

    std::size_t Read(float* frames, std::size_t count) override {
        const auto left = static_cast<std::size_t>(Frames - Position);
        Bytes.resize(std::min(count, left) * FrameBytes());
        const std::size_t got =
            std::fread(Bytes.data(), FrameBytes(), std::min(count, left), File.get());
        for (std::size_t i = 0; i < got * Channels; ++i)
            frames[i] = Format.Read(Bytes.data() + i * Format.Bytes());
        Position += static_cast<std::int64_t>(got);
        return got;
    }
    bool Rewind() override {
        Position = 0;
        return std::fseek(File.get(), Begin, SEEK_SET) == 0;
    }
    bool IsTruncated(std::int64_t read) const override { return Truncated || read < Frames; }

private:
    bool ReadBytes(std::uint8_t* bytes, std::size_t count) {
        return std::fread(bytes, 1, count, File.get()) == count;
    }
    std::size_t FrameBytes() const { return Channels * Format.Bytes(); }

    // Leaves Format.Bits at 0 if the format is unknown.
    void ReadFormat(std::uint32_t size) {
        std::uint8_t bytes[40] = {};
        if (size < 16 || !ReadBytes(bytes, std::min<std::size_t>(size, sizeof bytes))) return;
        std::uint32_t tag = Number(bytes, 2);
        if (tag == Extensible) tag = Number(bytes + 24, 2);
        const SampleFormat format = {static_cast<int>(Number(bytes + 14, 2)), tag == Float};
        const std::uint32_t rate = Number(bytes + 4, 4);
        Floats = format.Floats;
        Channels = Number(bytes + 2, 2);
        Rate = static_cast<int>(std::min(rate, 1000000u));
        if ((tag == Pcm || tag == Float) && format.IsKnown() && Channels > 0 && Channels <= 1024 &&
            rate >= 1000 && rate <= 1000000)
            Format = format;
    }

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> File;
    SampleFormat Format;
    std::uint32_t Size = 0; // of the data, bytes
    long Begin = 0;         // of the data in the file
    bool Truncated = false; // the file is shorter than in its header
    std::int64_t Position = 0;
    std::vector<std::uint8_t> Bytes;
};

} // namespace

std::unique_ptr<SoundDecoder> OpenSound(const std::string& path) {
    const auto fail = [&](const std::string& why) {
        throw HostError("\"" + path + "\" cannot be read: " + why);
    };
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (!file) fail(std::filesystem::is_directory(path) ? "it is a folder" : std::strerror(errno));
    auto wave = std::make_unique<WaveDecoder>(file);
    if (std::filesystem::file_size(path) == 0) fail("it is empty");
    if (wave->Open(path)) return wave;
    return OpenWithMediaFoundation(path);
}

} // namespace zorhost
