// Generated sound, and sound files: read as they are needed, brought to the channels and to the
// rate of the capture.
#include "platform/virtual/feed.h"

#include <sndfile.h>
#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

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

struct CloseFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
struct FreeResampler {
    void operator()(soxr* resampler) const { soxr_delete(resampler); }
};

struct SoundFile {
    std::unique_ptr<SNDFILE, CloseFile> File;
    SF_INFO Info = {};
};

// What can be said without looking inside. Empty if nothing is wrong.
std::string FaultOutside(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) return "there is no such file";
    if (error) return error.message();
    if (fs::is_directory(status)) return "it is a folder";
    if (fs::is_regular_file(status) && fs::file_size(path, error) == 0 && !error)
        return "the file is empty";
    return {};
}

// Without a file if it cannot be used; fault then says why.
SoundFile OpenSoundFile(const std::string& path, std::string& fault) {
    SoundFile sound;
    fault = FaultOutside(path);
    if (!fault.empty()) return sound;
    sound.File.reset(sf_open(path.c_str(), SFM_READ, &sound.Info));
    if (!sound.File) {
        fault = sf_error(nullptr) == SF_ERR_SYSTEM
                    ? sf_strerror(nullptr)
                    : "it is not a sound file of a kind that can be read";
    } else if (sound.Info.frames <= 0) {
        fault = "it holds no sound";
        sound.File.reset();
    }
    return sound;
}

// Passes through the resampler at the file's own rate too, which then changes no bit.
class FileReader : public FeedReader {
public:
    // sound may be without a file: it went away since it was fed.
    FileReader(SoundFile sound, std::uint64_t frame, unsigned rate, unsigned channels);
    void Read(float* samples, std::size_t frames) override;
    FeedProgress Progress() const override { return SoFar; }

private:
    static constexpr std::size_t ChunkFrames = 2048;

    void Begin();
    void Fail() { Dry = SoFar.Failed = true; }
    static std::size_t Supply(void* self, soxr_in_t* data, std::size_t wanted);
    std::size_t ReadChunk(); // of the file, mixed, into Chunk; frames
    std::size_t Produce(float* samples, std::size_t frames);
    void Account(std::size_t frames);
    std::uint64_t FileFrames() const { return static_cast<std::uint64_t>(Sound.Info.frames); }
    std::uint64_t FileRate() const { return static_cast<std::uint64_t>(Sound.Info.samplerate); }

    const SoundFile Sound;
    const unsigned Rate;
    const unsigned Channels;      // of the capture
    const unsigned FileChannels;  // at least 1
    const unsigned MixedChannels; // what passes through the resampler
    std::uint64_t Heard;          // frames of the capture since the first of the file
    std::uint64_t Taken = 0;      // of the file
    bool Dry = false;
    std::unique_ptr<soxr, FreeResampler> Resampler;
    std::vector<float> Chunk;
    std::vector<float> Mono; // of the capture, to be spread over its channels
    FeedProgress SoFar;
};

FileReader::FileReader(SoundFile sound, std::uint64_t frame, unsigned rate, unsigned channels)
    : Sound(std::move(sound)), Rate(rate), Channels(channels),
      FileChannels(static_cast<unsigned>(std::max(Sound.Info.channels, 1))),
      MixedChannels(FileChannels == channels ? channels : 1), Heard(frame),
      Chunk(ChunkFrames * FileChannels), Mono(ChunkFrames) {
    if (Sound.File)
        Begin();
    else
        Fail();
}

void FileReader::Begin() {
    const double begin =
        static_cast<double>(Heard) * static_cast<double>(FileRate()) / static_cast<double>(Rate);
    Taken = std::min(FileFrames(), static_cast<std::uint64_t>(std::llround(begin)));
    const auto place = static_cast<sf_count_t>(Taken);
    if (Taken != 0 && sf_seek(Sound.File.get(), place, SEEK_SET) < 0) Fail();
    soxr_error_t error = nullptr;
    const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    Resampler.reset(soxr_create(static_cast<double>(FileRate()), Rate, MixedChannels, &error,
                                &samples, &quality, &runtime));
    if (Resampler) error = soxr_set_input_fn(Resampler.get(), &Supply, this, ChunkFrames);
    if (!Resampler || error != nullptr) Fail();
    Account(0);
}

std::size_t FileReader::Supply(void* self, soxr_in_t* data, std::size_t) {
    auto* reader = static_cast<FileReader*>(self);
    *data = reader->Chunk.data();
    return reader->ReadChunk();
}

std::size_t FileReader::ReadChunk() {
    const sf_count_t got = sf_readf_float(Sound.File.get(), Chunk.data(), ChunkFrames);
    const auto frames = static_cast<std::size_t>(std::max<sf_count_t>(got, 0));
    if (frames == 0 && Taken < FileFrames()) SoFar.Failed = true;
    Taken += frames;
    if (MixedChannels == FileChannels) return frames;
    const float* from = Chunk.data();
    for (std::size_t frame = 0; frame < frames; ++frame) {
        float sum = 0;
        for (unsigned channel = 0; channel < FileChannels; ++channel) sum += *from++;
        Chunk[frame] = sum / static_cast<float>(FileChannels);
    }
    return frames;
}

// Up to ChunkFrames frames of the capture's channels; fewer at the end of the file.
std::size_t FileReader::Produce(float* samples, std::size_t frames) {
    if (Dry) return 0;
    const bool spread = MixedChannels < Channels;
    float* const into = spread ? Mono.data() : samples;
    const std::size_t got = soxr_output(Resampler.get(), into, frames);
    Dry = got < frames;
    for (std::size_t i = 0; spread && i < got * Channels; ++i) samples[i] = into[i / Channels];
    return got;
}

void FileReader::Account(std::size_t frames) {
    Heard += frames;
    const std::uint64_t played = Heard / Rate * FileRate() + Heard % Rate * FileRate() / Rate;
    SoFar.FileFrames = std::min(played, SoFar.Failed ? Taken : FileFrames());
    SoFar.Ended = played >= FileFrames() || (Dry && SoFar.Failed);
}

void FileReader::Read(float* samples, std::size_t frames) {
    while (frames > 0) {
        const std::size_t now = std::min(frames, ChunkFrames);
        const std::size_t got = Produce(samples, now);
        std::fill_n(samples + got * Channels, (now - got) * Channels, 0.0f);
        if (Sound.File) Account(now);
        samples += now * Channels;
        frames -= now;
    }
}

} // namespace

Feed GeneratedFeed(Generator generator) {
    return [generator](std::uint64_t frame, unsigned rate, unsigned channels) {
        return std::make_unique<GeneratedReader>(generator, FeedRequest{frame, rate, channels, {}});
    };
}

Feed OpenFileFeed(const std::string& path, FileFeed& told) {
    told = {};
    std::string fault;
    const SoundFile sound = OpenSoundFile(path, fault);
    if (!sound.File) {
        told.Error = "Cannot use " + path + ": " + fault + ".";
        return nullptr;
    }
    told.Frames = static_cast<std::uint64_t>(sound.Info.frames);
    told.Rate = static_cast<unsigned>(sound.Info.samplerate);
    return [path](std::uint64_t frame, unsigned rate, unsigned channels) {
        std::string ignored;
        return std::make_unique<FileReader>(OpenSoundFile(path, ignored), frame, rate, channels);
    };
}

} // namespace machine
