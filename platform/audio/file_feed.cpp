// A sound file as a feed: read, mixed to the channels and resampled to the rate of the capture.
#include "platform/audio/channel_mix.h"
#include "platform/audio/feed.h"
#include "platform/audio/sound_file.h"

#include <soxr.h>

#include <algorithm>
#include <cmath>

namespace machine {
namespace {

constexpr std::size_t ChunkFrames = 2048;

struct FreeResampler {
    void operator()(soxr* resampler) const { soxr_delete(resampler); }
};

class FileReader : public FeedReader {
public:
    // file may be null: it went away since it was fed.
    FileReader(std::unique_ptr<SoundFile> file, std::uint64_t frame, std::uint64_t leadFrames,
               unsigned rate, unsigned channels);
    void Read(float* samples, std::size_t frames) override;
    FeedProgress Progress() const override { return progress_; }

private:
    void MakeResampler(unsigned rate);
    std::size_t NextChunk(); // of the file, mixed, into mixed_; frames
    std::size_t Produce(float* samples, std::size_t frames);
    std::size_t Direct(float* samples, std::size_t frames);
    void Account(std::uint64_t frames);
    static std::size_t Supply(void* self, soxr_in_t* data, std::size_t wanted);

    std::unique_ptr<SoundFile> file_;
    std::uint64_t lead_ = 0; // frames of silence still to come
    unsigned rate_;
    unsigned channels_;       // of the capture
    unsigned mixedChannels_;  // what passes through the resampler: one channel if the file has one
    std::uint64_t heard_ = 0; // frames of the capture since the first of the file
    std::uint64_t read_ = 0;  // of the file
    bool dry_ = false;
    std::unique_ptr<ChannelMix> mix_;
    std::unique_ptr<soxr, FreeResampler> resampler_;
    std::vector<float> raw_;
    std::vector<float> mixed_;
    std::size_t mixedFrom_ = 0; // frames of mixed_ handed out and there, without a resampler
    std::size_t mixedCount_ = 0;
    std::vector<float> narrow_; // one channel, to be spread over two
    FeedProgress progress_;
};

FileReader::FileReader(std::unique_ptr<SoundFile> file, std::uint64_t frame,
                       std::uint64_t leadFrames, unsigned rate, unsigned channels)
    : file_(std::move(file)), rate_(rate), channels_(channels), mixedChannels_(channels) {
    lead_ = leadFrames - std::min(leadFrames, frame);
    heard_ = frame - std::min(frame, leadFrames);
    if (!file_) {
        dry_ = progress_.Failed = true;
        return;
    }
    mixedChannels_ = std::min(file_->Channels(), channels);
    mix_ = std::make_unique<ChannelMix>(file_->Layout(), mixedChannels_);
    raw_.resize(ChunkFrames * file_->Channels());
    mixed_.resize(ChunkFrames * mixedChannels_);
    narrow_.resize(mixedChannels_ < channels_ ? ChunkFrames : 0);
    const double begin = static_cast<double>(heard_) * file_->Rate() / rate;
    read_ = std::min(file_->Frames(), static_cast<std::uint64_t>(std::llround(begin)));
    if (read_ != 0 && !file_->Seek(read_)) dry_ = progress_.Failed = true;
    if (file_->Rate() != rate) MakeResampler(rate);
    Account(0);
}

void FileReader::MakeResampler(unsigned rate) {
    soxr_error_t error = nullptr;
    const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    resampler_.reset(
        soxr_create(file_->Rate(), rate, mixedChannels_, &error, &samples, &quality, &runtime));
    if (resampler_) error = soxr_set_input_fn(resampler_.get(), &Supply, this, ChunkFrames);
    if (!resampler_ || error != nullptr) dry_ = progress_.Failed = true;
}

std::size_t FileReader::NextChunk() {
    const std::size_t got = file_->Read(raw_.data(), ChunkFrames);
    if (got == 0 && read_ < file_->Frames()) progress_.Failed = true;
    read_ += got;
    mix_->Mix(raw_.data(), got, mixed_.data());
    return got;
}

std::size_t FileReader::Supply(void* self, soxr_in_t* data, std::size_t) {
    auto* reader = static_cast<FileReader*>(self);
    *data = reader->mixed_.data();
    return reader->NextChunk();
}

std::size_t FileReader::Direct(float* samples, std::size_t frames) {
    std::size_t done = 0;
    while (done < frames) {
        if (mixedFrom_ == mixedCount_) {
            mixedFrom_ = 0;
            mixedCount_ = NextChunk();
            if (mixedCount_ == 0) break;
        }
        const std::size_t now = std::min(frames - done, mixedCount_ - mixedFrom_);
        std::copy_n(mixed_.data() + mixedFrom_ * mixedChannels_, now * mixedChannels_,
                    samples + done * mixedChannels_);
        mixedFrom_ += now;
        done += now;
    }
    return done;
}

// Up to ChunkFrames frames of the capture's channels; fewer at the end of the file.
std::size_t FileReader::Produce(float* samples, std::size_t frames) {
    if (dry_) return 0;
    const bool spread = mixedChannels_ < channels_;
    float* const into = spread ? narrow_.data() : samples;
    const std::size_t got =
        resampler_ ? soxr_output(resampler_.get(), into, frames) : Direct(into, frames);
    if (got < frames) dry_ = true;
    for (std::size_t i = 0; spread && i < got; ++i) samples[2 * i] = samples[2 * i + 1] = into[i];
    return got;
}

void FileReader::Account(std::uint64_t frames) {
    heard_ += frames;
    const std::uint64_t played =
        heard_ / rate_ * file_->Rate() + heard_ % rate_ * file_->Rate() / rate_;
    progress_.FileFrames = std::min(played, progress_.Failed ? read_ : file_->Frames());
    progress_.Ended = played >= file_->Frames() || (dry_ && progress_.Failed);
}

void FileReader::Read(float* samples, std::size_t frames) {
    while (frames > 0) {
        std::size_t now = std::min(frames, ChunkFrames);
        if (lead_ > 0) {
            now = static_cast<std::size_t>(std::min<std::uint64_t>(now, lead_));
            std::fill_n(samples, now * channels_, 0.0f);
            lead_ -= now;
        } else {
            const std::size_t got = Produce(samples, now);
            std::fill_n(samples + got * channels_, (now - got) * channels_, 0.0f);
            if (file_) Account(now);
        }
        samples += now * channels_;
        frames -= now;
    }
}

class OpenedFile : public Feed {
public:
    OpenedFile(std::string path, std::uint32_t leadMilliseconds)
        : path_(std::move(path)), lead_(leadMilliseconds) {}

    std::unique_ptr<FeedReader> From(std::uint64_t frame, unsigned rate,
                                     unsigned channels) const override {
        FileFeed told;
        const std::uint64_t leadFrames = (std::uint64_t{lead_} * rate + 500) / 1000;
        return std::make_unique<FileReader>(SoundFile::Open(path_, told), frame, leadFrames, rate,
                                            channels);
    }

private:
    std::string path_;
    std::uint32_t lead_;
};

} // namespace

std::shared_ptr<Feed> OpenFileFeed(const std::string& path, std::uint32_t leadMilliseconds,
                                   FileFeed& told) {
    if (!SoundFile::Open(path, told)) return nullptr;
    return std::make_shared<OpenedFile>(path, leadMilliseconds);
}

} // namespace machine
