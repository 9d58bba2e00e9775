// The virtual microphone: hears a feed, is paced by the machine's clock, and can get into trouble
// on demand.
#include "platform/machine/capture.h"
#include "platform/api/capture.h"
#include "platform/api/clock.h"
#include "platform/machine/power.h"
#include "platform/backends/memory/level.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <mutex>

namespace machine {
namespace {

constexpr std::uint64_t NeverYet = ~std::uint64_t{0}; // a time that has not come
constexpr std::uint64_t Second = 1'000'000;

// Not-a-number counts as silence.
long Quantise(float sample, float fullScale) {
    const float scaled = sample * fullScale;
    if (!(scaled == scaled)) return 0;
    return std::lrintf(std::clamp(scaled, -fullScale, fullScale - 1));
}

// Samples of -1 to 1, clipped, as PCM. One that came from PCM of the same width comes out as it
// was.
void ToPcm(std::span<const float> samples, unsigned bits, std::uint8_t* to) {
    for (const float sample : samples) {
        const long value = bits == 8 ? Quantise(sample, 128) + 128 : Quantise(sample, 32768);
        *to++ = static_cast<std::uint8_t>(value);
        if (bits == 16) *to++ = static_cast<std::uint8_t>(value >> 8);
    }
}

class VirtualMicrophone : public CaptureDevice,
                          public std::enable_shared_from_this<VirtualMicrophone> {
public:
    explicit VirtualMicrophone(MicrophoneModel model) : Model(std::move(model)) {
        for (const MixerControl& control : Model.Mixer)
            Controls.push_back(std::make_shared<VirtualLevel>(control));
    }

    std::string Name() const override { return Model.Name; }
    unsigned Channels() const override { return Model.Channels; }
    bool Supports(const PcmFormat& format) const override {
        const auto known = std::ranges::find(CommonFormats, format) - CommonFormats.begin();
        return format.Channels <= Model.Channels &&
               ((Model.Formats >> known & 1) != 0 ||
                std::ranges::count(Model.MoreFormats, format) != 0);
    }
    bool Gone() const override { return GoneAt() != NeverYet; }
    std::unique_ptr<CaptureStream> Open(const PcmFormat& format, CaptureOwner& owner) override;
    const LevelList& Levels() const override { return Controls; }

    void SetFeed(Generator feed) {
        const std::scoped_lock lock(Lock);
        ToPlay = std::move(feed);
    }
    void Unplug() {
        std::uint64_t never = NeverYet; // the first unplugging counts
        UnpluggedAt.compare_exchange_strong(never, Microseconds(), std::memory_order_acq_rel);
    }
    CaptureStats Stats() const {
        const std::scoped_lock lock(Lock);
        return Account;
    }

    // For its streams.
    std::uint64_t GoneAt() const { return UnpluggedAt.load(std::memory_order_acquire); }
    void Closed() {
        const std::scoped_lock lock(Lock);
        --Account.Open;
    }
    // What now sounds in its feed, which the stream asks for what comes next.
    Generator JoinFeed(std::uint64_t now, unsigned rate, std::uint64_t& next);
    void LeaveFeed() {
        const std::scoped_lock lock(Lock);
        --Account.Capturing;
    }
    // About sound that has been captured: how often it still does.
    std::atomic<unsigned> Quiet{0};
    bool KeepsSilent();

private:
    const MicrophoneModel Model;
    LevelList Controls;
    std::atomic<std::uint64_t> UnpluggedAt{NeverYet}; // machine time of the unplugging

    mutable std::mutex Lock; // of all below; held for moments only
    Generator ToPlay = [](const FeedRequest& r) { std::ranges::fill(r.Samples, 0.0f); };
    Generator Playing; // since the last origin
    CaptureStats Account;
};

class MicrophoneStream : public CaptureStream {
public:
    MicrophoneStream(std::shared_ptr<VirtualMicrophone> microphone, const PcmFormat& format,
                     CaptureOwner& owner)
        : Device(std::move(microphone)), Format(format), Owner(owner) {}
    ~MicrophoneStream() override {
        Stop();
        Device->Closed();
    }

    bool Start() override;
    void Stop() override;
    std::uint64_t Position() const override;
    void WakeAt(std::uint64_t frame) override;
    void Read(void* pcm, std::uint64_t frames) override;
    bool Gone() const override { return Device->Gone(); }

private:
    static void Wake(void* self, std::uintptr_t);
    void Arm(std::uint64_t frame); // locked

    const std::shared_ptr<VirtualMicrophone> Device;
    const PcmFormat Format;
    CaptureOwner& Owner;
    // Machine times, published for Position by release.
    std::atomic<std::uint64_t> StartedAt{NeverYet};
    std::atomic<std::uint64_t> StoppedAt{NeverYet};

    std::mutex Lock; // of the next three: a wake may come before the one who asks for it is done
    Token Pending = 0;
    std::uint64_t WakeFrame = 0; // the last one asked for, and how far behind the one before
    std::uint64_t WakeStep = 0;
    Generator Feed;
    std::uint64_t Next = 0; // frame of the feed
    std::array<float, 2048> Samples = {};
};

std::unique_ptr<CaptureStream> VirtualMicrophone::Open(const PcmFormat& format,
                                                       CaptureOwner& owner) {
    StartLane(Lane::Audio); // now, rather than at Start
    const std::scoped_lock lock(Lock);
    if (Gone() || (Model.Exclusive && Account.Open > 0)) return nullptr;
    ++Account.Open;
    return std::make_unique<MicrophoneStream>(shared_from_this(), format, owner);
}

Generator VirtualMicrophone::JoinFeed(std::uint64_t now, unsigned rate, std::uint64_t& next) {
    const std::scoped_lock lock(Lock);
    if (Account.Capturing++ == 0) {
        Playing = ToPlay;
        Account.OriginMicroseconds = now;
    }
    const std::uint64_t late = now - std::min(now, Account.OriginMicroseconds);
    next = (late * rate + Second / 2) / Second;
    return Playing;
}

bool VirtualMicrophone::KeepsSilent() {
    unsigned times = Quiet.load(std::memory_order_acquire);
    while (times > 0 && !Quiet.compare_exchange_weak(times, times - 1)) {
    }
    return times > 0;
}

bool MicrophoneStream::Start() {
    if (Gone()) return false;
    const std::uint64_t now = Microseconds();
    Feed = Device->JoinFeed(now, Format.Rate, Next);
    {
        const std::scoped_lock lock(Lock);
        WakeFrame = 0;
    }
    StoppedAt.store(NeverYet, std::memory_order_relaxed);
    StartedAt.store(now, std::memory_order_release);
    return true;
}

void MicrophoneStream::Stop() {
    UnscheduleAll(this);
    if (StartedAt.load(std::memory_order_relaxed) == NeverYet) return;
    std::uint64_t running = NeverYet;
    if (StoppedAt.compare_exchange_strong(running, Microseconds(), std::memory_order_acq_rel))
        Device->LeaveFeed();
}

std::uint64_t MicrophoneStream::Position() const {
    const std::uint64_t from = StartedAt.load(std::memory_order_acquire);
    if (from == NeverYet) return 0;
    const std::uint64_t to =
        std::min({StoppedAt.load(std::memory_order_acquire), Device->GoneAt(), Microseconds()});
    const std::uint64_t passed = to - std::min(to, from);
    return passed / Second * Format.Rate + passed % Second * Format.Rate / Second;
}

void MicrophoneStream::WakeAt(std::uint64_t frame) {
    const std::scoped_lock lock(Lock);
    Arm(frame);
}

void MicrophoneStream::Arm(std::uint64_t frame) {
    if (Pending != 0) Unschedule(Pending);
    Pending = 0;
    if (StoppedAt.load(std::memory_order_acquire) != NeverYet || Gone()) return;
    WakeStep = std::max<std::uint64_t>(frame - std::min(frame, WakeFrame), 1);
    WakeFrame = frame;
    // The first microsecond at which Position has come to the frame.
    const std::uint64_t passed = frame / Format.Rate * Second +
                                 (frame % Format.Rate * Second + Format.Rate - 1) / Format.Rate;
    const std::uint64_t due = StartedAt.load(std::memory_order_acquire) + passed;
    Pending = Schedule(Lane::Audio, due, &Wake, this);
}

// A device in trouble is quiet this time and, as the owner does not ask anew, looks again after as
// many frames as the owner last asked for.
void MicrophoneStream::Wake(void* self, std::uintptr_t) {
    auto& stream = *static_cast<MicrophoneStream*>(self);
    if (stream.Gone()) return;
    if (!stream.Device->KeepsSilent()) return stream.Owner.Captured();
    const std::scoped_lock lock(stream.Lock);
    stream.Arm(stream.WakeFrame + stream.WakeStep);
}

void MicrophoneStream::Read(void* pcm, std::uint64_t frames) {
    const std::size_t chunk = Samples.size() / Format.Channels;
    auto* to = static_cast<std::uint8_t*>(pcm);
    for (std::uint64_t left = frames; left > 0;) {
        const auto now = static_cast<std::size_t>(std::min<std::uint64_t>(left, chunk));
        const std::span part(Samples.data(), now * Format.Channels);
        Feed({Next, Format.Rate, Format.Channels, part});
        if (to != nullptr) ToPcm(part, Format.Bits, to);
        if (to != nullptr) to += part.size() * Format.Bits / 8;
        Next += now;
        left -= now;
    }
}

std::mutex microphonesLock;
std::vector<std::shared_ptr<VirtualMicrophone>> microphones; // of this machine, also those gone

// Who still has one open finds it gone.
const AtPowerOn atPowerOn([] {
    const std::scoped_lock lock(microphonesLock);
    for (const auto& microphone : microphones) microphone->Unplug();
    microphones.clear();
});

// Null for one that was never added, or was forgotten at a PowerOn.
std::shared_ptr<VirtualMicrophone> Find(Microphone microphone) {
    const std::scoped_lock lock(microphonesLock);
    const auto place = static_cast<std::size_t>(microphone);
    return place < microphones.size() ? microphones[place] : nullptr;
}

std::shared_ptr<Level> Find(Microphone microphone, const ControlPlace& place) {
    const auto owner = Find(microphone);
    if (!owner) return nullptr;
    const LevelList& all = owner->Levels();
    const auto level = std::ranges::find(all, place, [](const auto& each) { return each->Place; });
    return level != all.end() ? *level : nullptr;
}

} // namespace

std::vector<std::shared_ptr<CaptureDevice>> CaptureDevices() {
    std::unique_lock lock(microphonesLock);
    std::vector<std::shared_ptr<CaptureDevice>> present(microphones.begin(), microphones.end());
    lock.unlock();
    if (present.empty()) return NativeCaptureDevices();
    std::erase_if(present, [](const auto& device) { return device->Gone(); });
    return present;
}

Microphone AddMicrophone(const MicrophoneModel& model) {
    const std::scoped_lock lock(microphonesLock);
    microphones.push_back(std::make_shared<VirtualMicrophone>(model));
    return Microphone{static_cast<int>(microphones.size()) - 1};
}

std::vector<MixerControl> MicrophoneMixer() {
    constexpr std::uint32_t half = 65535 / 2;
    return {{{SpeakersLine, 0, MuteControl}, 1, 1},
            {MicrophoneMute, 1, 1},
            {{RecordingLine, LineInLine, VolumeControl}, 65535, half},
            {MicrophoneVolume, 65535, half}};
}

std::vector<std::uint32_t> ControlValues(Microphone microphone, const ControlPlace& place) {
    const auto level = Find(microphone, place);
    std::vector<std::uint32_t> values(level ? level->Values : 0);
    if (level) level->Read(values);
    return values;
}

bool MoveControl(Microphone microphone, const ControlPlace& place, std::uint32_t value) {
    const auto level = Find(microphone, place);
    return level && level->Write(std::vector(level->Values, std::min(value, level->Maximum)));
}

void FeedGenerator(Microphone microphone, Generator generator) {
    if (const auto hears = Find(microphone)) hears->SetFeed(std::move(generator));
}

void Unplug(Microphone microphone) {
    if (const auto gone = Find(microphone)) gone->Unplug();
}

void FallBehind(Microphone microphone, unsigned times) {
    if (const auto late = Find(microphone)) late->Quiet = times;
}

CaptureStats StatsOf(Microphone microphone) {
    const auto asked = Find(microphone);
    return asked ? asked->Stats() : CaptureStats{};
}

} // namespace machine
