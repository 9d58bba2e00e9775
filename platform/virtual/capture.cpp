// The virtual microphone: hears a feed, is paced by the machine's clock, and can get into trouble
// on demand.
#include "platform/device/capture.h"

#include "platform/machine/capture.h"
#include "platform/virtual/clock.h"
#include "platform/virtual/feed.h"
#include "platform/virtual/level.h"
#include "platform/virtual/pcm.h"
#include "platform/virtual/power.h"
#include "platform/virtual/scheduler.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>

namespace machine {
namespace {

constexpr std::uint64_t NeverYet = ~std::uint64_t{0}; // a time that has not come
constexpr std::uint64_t Second = 1'000'000;

// Bit of MicrophoneModel::Formats, 0 for a format that it cannot tell.
std::uint32_t FormatBit(const PcmFormat& format) {
    constexpr std::array<unsigned, 3> rates = {11025, 22050, 44100};
    const auto rate = std::ranges::find(rates, format.Rate);
    if (rate == rates.end()) return 0;
    const unsigned within = (format.Channels - 1) + (format.Bits == 16 ? 2 : 0);
    return 1u << (4 * static_cast<unsigned>(rate - rates.begin()) + within);
}

class VirtualMicrophone : public CaptureDevice,
                          public std::enable_shared_from_this<VirtualMicrophone> {
public:
    explicit VirtualMicrophone(MicrophoneModel model) : model_(std::move(model)) {}

    std::string Name() const override { return model_.Name; }
    unsigned Channels() const override { return model_.Channels; }
    bool Supports(const PcmFormat& format) const override {
        return format.Channels <= model_.Channels &&
               ((FormatBit(format) & model_.Formats) != 0 ||
                std::ranges::find(model_.MoreFormats, format) != model_.MoreFormats.end());
    }
    bool Gone() const override { return GoneAt() != NeverYet; }
    std::unique_ptr<CaptureStream> Open(const PcmFormat& format, CaptureOwner& owner) override;
    std::shared_ptr<LevelDevice> Levels() const override { return FindMixer(MixerOfIt); }

    void SetFeed(Feed feed) {
        const std::scoped_lock lock(lock_);
        feed_ = std::move(feed);
    }
    void Unplug() {
        std::uint64_t never = NeverYet; // the first unplugging counts
        goneAt_.compare_exchange_strong(never, Microseconds(), std::memory_order_acq_rel);
    }
    CaptureStats Stats() const {
        const std::scoped_lock lock(lock_);
        return stats_;
    }

    // For its streams.
    std::uint64_t GoneAt() const { return goneAt_.load(std::memory_order_acquire); }
    void Closed() {
        const std::scoped_lock lock(lock_);
        --stats_.Open;
    }
    std::unique_ptr<FeedReader> JoinFeed(std::uint64_t now, const PcmFormat& format);
    void LeaveFeed() {
        const std::scoped_lock lock(lock_);
        --stats_.Capturing;
    }
    bool KeepsSilent(); // about sound that has been captured
    void Progress(const FeedProgress& progress);

    // Steering.
    std::atomic<Mixer> MixerOfIt{Mixer::None};
    std::atomic<bool> Silent{false};
    std::atomic<int> Behind{0}; // times that nobody is told

private:
    const MicrophoneModel model_;
    std::atomic<std::uint64_t> goneAt_{NeverYet}; // machine time of the unplugging

    mutable std::mutex lock_; // of all below; held for moments only
    Feed feed_ = GeneratedFeed([](const FeedRequest& r) { std::ranges::fill(r.Samples, 0.0f); });
    Feed playing_; // since the last origin
    CaptureStats stats_;
};

class MicrophoneStream : public CaptureStream {
public:
    MicrophoneStream(std::shared_ptr<VirtualMicrophone> microphone, const PcmFormat& format,
                     CaptureOwner& owner)
        : microphone_(std::move(microphone)), format_(format), owner_(owner) {}
    ~MicrophoneStream() override {
        Stop();
        microphone_->Closed();
    }

    bool Start() override;
    void Stop() override;
    std::uint64_t Position() const override;
    void WakeAt(std::uint64_t frame) override;
    void Read(void* pcm, std::uint64_t frames) override;
    bool Gone() const override { return microphone_->Gone(); }

private:
    static void Wake(void* self, std::uintptr_t);

    const std::shared_ptr<VirtualMicrophone> microphone_;
    const PcmFormat format_;
    CaptureOwner& owner_;
    // Machine times, published for Position by release.
    std::atomic<std::uint64_t> startedAt_{NeverYet};
    std::atomic<std::uint64_t> stoppedAt_{NeverYet};
    std::atomic<Token> wake_{0};
    std::uint64_t wakeFrame_ = 0; // the last one asked for, and how far behind the one before
    std::uint64_t wakeStep_ = 0;
    std::unique_ptr<FeedReader> reader_;
    std::array<float, 2048> samples_ = {};
};

std::unique_ptr<CaptureStream> VirtualMicrophone::Open(const PcmFormat& format,
                                                       CaptureOwner& owner) {
    StartLane(Lane::Audio); // now, rather than at Start
    const std::scoped_lock lock(lock_);
    if (Gone() || (model_.Exclusive && stats_.Open > 0)) return nullptr;
    ++stats_.Open;
    return std::make_unique<MicrophoneStream>(shared_from_this(), format, owner);
}

std::unique_ptr<FeedReader> VirtualMicrophone::JoinFeed(std::uint64_t now,
                                                        const PcmFormat& format) {
    std::unique_lock lock(lock_);
    if (stats_.Capturing++ == 0) {
        playing_ = feed_;
        stats_.OriginMicroseconds = now;
        stats_.Started = true;
        stats_.Ended = stats_.ReadFailed = false;
        stats_.FileFrames = 0;
    }
    const Feed playing = playing_;
    const std::uint64_t late = now - std::min(now, stats_.OriginMicroseconds);
    lock.unlock(); // a file takes its time to open
    return playing((late * format.Rate + Second / 2) / Second, format.Rate, format.Channels);
}

bool VirtualMicrophone::KeepsSilent() {
    if (Silent.load(std::memory_order_acquire)) return true;
    if (Behind.load(std::memory_order_relaxed) <= 0) return false;
    return Behind.fetch_sub(1, std::memory_order_relaxed) > 0;
}

void VirtualMicrophone::Progress(const FeedProgress& progress) {
    const std::scoped_lock lock(lock_);
    stats_.FileFrames = std::max(stats_.FileFrames, progress.FileFrames);
    stats_.Ended |= progress.Ended;
    stats_.ReadFailed |= progress.Failed;
}

bool MicrophoneStream::Start() {
    if (Gone()) return false;
    const std::uint64_t now = Microseconds();
    reader_ = microphone_->JoinFeed(now, format_);
    wakeFrame_ = 0;
    stoppedAt_.store(NeverYet, std::memory_order_relaxed);
    startedAt_.store(now, std::memory_order_release);
    return true;
}

void MicrophoneStream::Stop() {
    UnscheduleAll(this);
    if (startedAt_.load(std::memory_order_relaxed) == NeverYet) return;
    std::uint64_t running = NeverYet;
    if (stoppedAt_.compare_exchange_strong(running, Microseconds(), std::memory_order_acq_rel))
        microphone_->LeaveFeed();
}

std::uint64_t MicrophoneStream::Position() const {
    const std::uint64_t from = startedAt_.load(std::memory_order_acquire);
    if (from == NeverYet) return 0;
    const std::uint64_t to = std::min(
        {stoppedAt_.load(std::memory_order_acquire), microphone_->GoneAt(), Microseconds()});
    const std::uint64_t passed = to - std::min(to, from);
    return passed / Second * format_.Rate + passed % Second * format_.Rate / Second;
}

void MicrophoneStream::WakeAt(std::uint64_t frame) {
    if (const Token earlier = wake_.exchange(0, std::memory_order_relaxed)) Unschedule(earlier);
    if (stoppedAt_.load(std::memory_order_acquire) != NeverYet || Gone()) return;
    wakeStep_ = std::max<std::uint64_t>(frame - std::min(frame, wakeFrame_), 1);
    wakeFrame_ = frame;
    // The first microsecond at which Position has come to the frame.
    const std::uint64_t passed = frame / format_.Rate * Second +
                                 (frame % format_.Rate * Second + format_.Rate - 1) / format_.Rate;
    const std::uint64_t due = startedAt_.load(std::memory_order_acquire) + passed;
    wake_.store(Schedule(Lane::Audio, due, &Wake, this), std::memory_order_relaxed);
}

// A device in trouble is quiet this time and, as the owner does not ask anew, looks again after as
// many frames as the owner last asked for.
void MicrophoneStream::Wake(void* self, std::uintptr_t) {
    auto& stream = *static_cast<MicrophoneStream*>(self);
    if (stream.Gone()) return;
    if (stream.microphone_->KeepsSilent())
        stream.WakeAt(stream.wakeFrame_ + stream.wakeStep_);
    else
        stream.owner_.Captured();
}

void MicrophoneStream::Read(void* pcm, std::uint64_t frames) {
    const std::size_t chunk = samples_.size() / format_.Channels;
    auto* to = static_cast<std::uint8_t*>(pcm);
    for (std::uint64_t left = frames; left > 0;) {
        const auto now = static_cast<std::size_t>(std::min<std::uint64_t>(left, chunk));
        reader_->Read(samples_.data(), now);
        if (to != nullptr) {
            ToPcm(samples_.data(), now * format_.Channels, format_.Bits, to);
            to += now * format_.Channels * format_.Bits / 8;
        }
        left -= now;
    }
    microphone_->Progress(reader_->Progress());
}

std::mutex microphonesLock;
std::vector<std::shared_ptr<VirtualMicrophone>> microphones; // of this machine, also those gone

// Who still has one open finds it gone.
void Reset() {
    const std::scoped_lock lock(microphonesLock);
    for (const auto& microphone : microphones) microphone->Unplug();
    microphones.clear();
    ForgetCaptureDevices();
}
const AtPowerOn atPowerOn(Reset);

// Null for one that was never added, or was forgotten at a PowerOn.
std::shared_ptr<VirtualMicrophone> Find(Microphone microphone) {
    const std::scoped_lock lock(microphonesLock);
    const auto place = static_cast<std::size_t>(microphone);
    return place < microphones.size() ? microphones[place] : nullptr;
}

} // namespace

Microphone AddMicrophone(const MicrophoneModel& model) {
    auto microphone = std::make_shared<VirtualMicrophone>(model);
    if (model.WithMixer) microphone->MixerOfIt = AddMixer(MicrophoneMixer(model.Name));
    const std::scoped_lock lock(microphonesLock);
    microphones.push_back(microphone);
    AddCaptureDevice(std::move(microphone));
    return Microphone{static_cast<int>(microphones.size()) - 1};
}

int DeviceNumber(Microphone microphone) {
    const auto present = CaptureDevices();
    const auto place = std::ranges::find(present, Find(microphone));
    return place != present.end() ? static_cast<int>(place - present.begin()) : -1;
}

void SetMixerOf(Microphone microphone, Mixer mixer) {
    if (const auto owner = Find(microphone)) owner->MixerOfIt = mixer;
}

Mixer MixerOf(Microphone microphone) {
    const auto owner = Find(microphone);
    return owner ? owner->MixerOfIt.load() : Mixer::None;
}

FileFeed FeedFile(Microphone microphone, const std::string& path) {
    FileFeed told;
    Feed feed = OpenFileFeed(path, told);
    const auto hears = Find(microphone);
    if (feed && hears) hears->SetFeed(std::move(feed));
    return told;
}

void FeedGenerator(Microphone microphone, Generator generator) {
    if (const auto hears = Find(microphone)) hears->SetFeed(GeneratedFeed(std::move(generator)));
}

void Unplug(Microphone microphone) {
    if (const auto gone = Find(microphone)) gone->Unplug();
}

void StopNotifying(Microphone microphone, bool on) {
    if (const auto mute = Find(microphone)) mute->Silent.store(on, std::memory_order_release);
}

void FallBehind(Microphone microphone, unsigned times) {
    if (const auto late = Find(microphone)) late->Behind = static_cast<int>(times);
}

CaptureStats StatsOf(Microphone microphone) {
    const auto asked = Find(microphone);
    return asked ? asked->Stats() : CaptureStats{};
}

} // namespace machine
