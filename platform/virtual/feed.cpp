// Generated sound, and sound files: read as they are needed, brought to the channels and to the
// rate of the capture.
#include "platform/virtual/feed.h"

#include <sndfile.h>
#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

namespace machine {
namespace {

class GeneratedReader : public FeedReader {
public:
    GeneratedReader(const Generator& generator, FeedRequest next)
        : Generate(generator), Next(next) {}

    void Read(float* samples, std::size_t frames) override {
        Next.Samples = {samples, frames * Next.Channels};
        Generate(Next);
        Next.First += frames;
    }

private:
    const Generator Generate;
    FeedRequest Next;
};

struct SoundFile {
    explicit SoundFile(const std::string& path)
        : File(sf_open(path.c_str(), SFM_READ, &Info), &sf_close) {}
    std::uint64_t Frames() const { return static_cast<std::uint64_t>(Info.frames); }
    std::uint64_t Rate() const { return static_cast<std::uint64_t>(Info.samplerate); }
    std::size_t Channels() const { return static_cast<std::size_t>(Info.channels); }

    SF_INFO Info = {};
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> File; // null if it cannot be read
};

// Why the file cannot be used; empty if it can.
std::string FaultOf(const std::string& path, const SoundFile& sound) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error) return error.message();
    if (size == 0) return "the file is empty";
    if (!sound.File) return "it is not a sound file of a kind that can be read";
    return sound.Info.frames <= 0 ? "it holds no sound" : "";
}

// Passes through the resampler at the file's own rate too, which then changes no bit.
class FileReader : public FeedReader {
public:
    // The file may have gone away since it was fed.
    FileReader(const std::string& path, std::uint64_t frame, unsigned rate, unsigned channels);
    ~FileReader() override { soxr_delete(Resampler); }
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;
    void Read(float* samples, std::size_t frames) override;
    FeedProgress Progress() const override;

private:
    static constexpr std::size_t ChunkFrames = 2048;

    static std::size_t Supply(void* self, soxr_in_t* data, std::size_t wanted);
    void Fail() { Dry = Failed = true; }
    std::size_t ReadChunk(); // of the file, as the capture's channels, into Chunk; frames

    const SoundFile Sound;
    const unsigned Rate;
    const unsigned Channels; // of the capture
    std::uint64_t Heard;     // frames of the capture since the first of the file
    std::uint64_t Taken = 0; // of the file
    bool Dry = false;
    bool Failed = false;
    soxr_t Resampler = nullptr;
    std::vector<float> Raw; // of the file
    std::vector<float> Chunk;
};

FileReader::FileReader(const std::string& path, std::uint64_t frame, unsigned rate,
                       unsigned channels)
    : Sound(path), Rate(rate), Channels(channels), Heard(frame),
      Raw(ChunkFrames * Sound.Channels()), Chunk(ChunkFrames * channels) {
    Dry = Failed = !Sound.File;
    if (Failed) return;
    const double begin = static_cast<double>(frame) * Sound.Info.samplerate / rate;
    Taken = std::min(Sound.Frames(), static_cast<std::uint64_t>(std::llround(begin)));
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    Resampler =
        soxr_create(Sound.Info.samplerate, rate, channels, nullptr, nullptr, &quality, nullptr);
    if (!Resampler || sf_seek(Sound.File.get(), static_cast<sf_count_t>(Taken), SEEK_SET) < 0 ||
        soxr_set_input_fn(Resampler, &Supply, this, ChunkFrames))
        Fail();
}

std::size_t FileReader::Supply(void* self, soxr_in_t* data, std::size_t) {
    auto* reader = static_cast<FileReader*>(self);
    *data = reader->Chunk.data();
    return reader->ReadChunk();
}

// Where the file has not as many channels as the capture, each hears their mean.
std::size_t FileReader::ReadChunk() {
    const sf_count_t got = sf_readf_float(Sound.File.get(), Raw.data(), ChunkFrames);
    const auto frames = static_cast<std::size_t>(std::max<sf_count_t>(got, 0));
    if (frames == 0 && Taken < Sound.Frames()) Failed = true;
    Taken += frames;
    const std::size_t width = Sound.Channels();
    const float* from = Raw.data();
    float* to = Chunk.data();
    for (std::size_t frame = 0; frame < frames; ++frame, from += width, to += Channels) {
        if (width == Channels) {
            std::copy_n(from, width, to);
        } else {
            const float sum = std::accumulate(from, from + width, 0.0f);
            std::fill_n(to, Channels, sum / static_cast<float>(width));
        }
    }
    return frames;
}

FeedProgress FileReader::Progress() const {
    const std::uint64_t rate = Sound.Rate();
    const std::uint64_t played = Heard / Rate * rate + Heard % Rate * rate / Rate;
    return {.FileFrames = std::min(played, Failed ? Taken : Sound.Frames()),
            .Ended = played >= Sound.Frames() || (Dry && Failed),
            .Failed = Failed};
}

void FileReader::Read(float* samples, std::size_t frames) {
    const std::size_t got = Dry ? 0 : soxr_output(Resampler, samples, frames);
    Dry = got < frames;
    std::fill_n(samples + got * Channels, (frames - got) * Channels, 0.0f);
    Heard += frames;
}

} // namespace

Feed GeneratedFeed(Generator generator) {
    return [generator](std::uint64_t frame, unsigned rate, unsigned channels) {
        return std::make_unique<GeneratedReader>(generator, FeedRequest{frame, rate, channels, {}});
    };
}

Feed OpenFileFeed(const std::string& path, FileFeed& told) {
    const SoundFile sound(path);
    const std::string fault = FaultOf(path, sound);
    told = {};
    if (!fault.empty()) {
        told.Error = "Cannot use " + path + ": " + fault + ".";
        return nullptr;
    }
    told.Frames = sound.Frames();
    told.Rate = static_cast<unsigned>(sound.Rate());
    return [path](std::uint64_t frame, unsigned rate, unsigned channels) {
        return std::make_unique<FileReader>(path, frame, rate, channels);
    };
}

} // namespace machine
