// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The virtual microphone: captures a generated signal, is paced by the machine's clock, and fails
// on demand.
#include "platform/machine/capture.h"
#include "platform/api/capture.h"
#include "platform/api/clock.h"
#include "platform/backends/memory/level.h"
#include "platform/machine/power.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <mutex>

namespace device {

using machine::CaptureStats;
using machine::FeedRequest;
using machine::Generator;
using machine::Microseconds;

namespace {

constexpr std::uint64_t NotYet = ~std::uint64_t{0}; // a time that has not come
constexpr std::uint64_t Second = 1'000'000;         // microseconds

// Not-a-number counts as silence.
long Quantise(float sample, float fullScale) {
    const float scaled = sample * fullScale;
    if (!(scaled == scaled)) return 0;
    return std::lrintf(std::clamp(scaled, -fullScale, fullScale - 1));
}

// Writes samples of -1 to 1, clipped, as PCM. Samples that were read from PCM of the same width are
// reproduced exactly.
void WritePcm(std::span<const float> samples, unsigned bits, std::uint8_t* pcm) {
    for (const float sample : samples) {
        const long value = bits == 8 ? Quantise(sample, 128) + 128 : Quantise(sample, 32768);
        *pcm++ = static_cast<std::uint8_t>(value);
        if (bits == 16) *pcm++ = static_cast<std::uint8_t>(value >> 8);
    }
}

class VirtualMicrophone : public CaptureDevice,
                          public std::enable_shared_from_this<VirtualMicrophone> {
public:
    explicit VirtualMicrophone(machine::MicrophoneModel model) : Model(std::move(model)) {
        for (const machine::MixerControl& control : Model.Mixer)
            Controls.push_back(std::make_shared<VirtualLevel>(control));
    }

    std::string Name() const override { return Model.Name; }
    unsigned Channels() const override { return Model.Channels; }
    bool Supports(const PcmFormat& format) const override {
        const auto known =
            std::ranges::find(machine::CommonFormats, format) - machine::CommonFormats.begin();
        return format.Channels <= Model.Channels &&
               ((Model.Formats >> known & 1) != 0 ||
                std::ranges::count(Model.MoreFormats, format) != 0);
    }
    bool IsGone() const override { return UnpluggedTime() != NotYet; }
    std::unique_ptr<CaptureStream> Open(const PcmFormat& format, CaptureOwner& owner) override;
    const LevelList& Levels() const override { return Controls; }

    void SetFeed(Generator feed) {
        const std::scoped_lock lock(Lock);
        NextFeed = std::move(feed);
    }
    void Unplug() {
        std::uint64_t never = NotYet; // the first unplugging counts
        UnpluggedAt.compare_exchange_strong(never, Microseconds(), std::memory_order_acq_rel);
    }
    CaptureStats Stats() const {
        const std::scoped_lock lock(Lock);
        return Statistics;
    }

    // For its streams.
    std::uint64_t UnpluggedTime() const { return UnpluggedAt.load(std::memory_order_acquire); }
    void CloseStream() {
        const std::scoped_lock lock(Lock);
        --Statistics.Open;
    }
    // The feed of the captures that run now. next: its frame at the time now.
    Generator JoinFeed(std::uint64_t now, unsigned rate, std::uint64_t& next);
    void LeaveFeed() {
        const std::scoped_lock lock(Lock);
        --Statistics.Capturing;
    }
    // Wake-ups still to be skipped; see machine::FallBehind.
    std::atomic<unsigned> SkippedWakes{0};
    bool SkipWake(); // whether this one is to be skipped

private:
    const machine::MicrophoneModel Model;
    LevelList Controls;
    std::atomic<std::uint64_t> UnpluggedAt{NotYet}; // machine time of the unplugging

    mutable std::mutex Lock; // of all below; held for moments only
    Generator NextFeed = [](const FeedRequest& r) { std::ranges::fill(r.Samples, 0.0f); };
    Generator CurrentFeed; // since the last origin
    CaptureStats Statistics;
};

class MicrophoneStream final : public CaptureStream {
public:
    MicrophoneStream(std::shared_ptr<VirtualMicrophone> microphone, const PcmFormat& format,
                     CaptureOwner& owner)
        : Device(std::move(microphone)), Format(format), Owner(owner) {}
    ~MicrophoneStream() override {
        Stop();
        Device->CloseStream();
    }

    bool Start() override;
    void Stop() override;
    std::uint64_t Position() const override;
    void WakeAt(std::uint64_t frame) override;
    void Read(void* pcm, std::uint64_t frames) override;
    bool IsGone() const override { return Device->IsGone(); }

private:
    static void Wake(void* self, std::uintptr_t);
    void Arm(std::uint64_t frame); // locked

    const std::shared_ptr<VirtualMicrophone> Device;
    const PcmFormat Format;
    CaptureOwner& Owner;
    // Machine times, published for Position by release.
    std::atomic<std::uint64_t> StartedAt{NotYet};
    std::atomic<std::uint64_t> StoppedAt{NotYet};

    std::mutex Lock; // of the next three: a wake-up may run before WakeAt returns
    Token Pending = 0;
    std::uint64_t WakeFrame = 0; // of the last WakeAt
    std::uint64_t WakeStep = 0;  // its distance from the one before
    Generator Feed;
    std::uint64_t NextFrame = 0; // of the feed
    std::array<float, 2048> Samples = {};
};

std::unique_ptr<CaptureStream> VirtualMicrophone::Open(const PcmFormat& format,
                                                       CaptureOwner& owner) {
    StartLane(Lane::Audio); // now, rather than at Start
    const std::scoped_lock lock(Lock);
    if (IsGone() || (Model.Exclusive && Statistics.Open > 0)) return nullptr;
    ++Statistics.Open;
    return std::make_unique<MicrophoneStream>(shared_from_this(), format, owner);
}

Generator VirtualMicrophone::JoinFeed(std::uint64_t now, unsigned rate, std::uint64_t& next) {
    const std::scoped_lock lock(Lock);
    if (Statistics.Capturing++ == 0) {
        CurrentFeed = NextFeed;
        Statistics.OriginMicroseconds = now;
    }
    const std::uint64_t elapsed = now - std::min(now, Statistics.OriginMicroseconds);
    next = (elapsed * rate + Second / 2) / Second;
    return CurrentFeed;
}

bool VirtualMicrophone::SkipWake() {
    unsigned times = SkippedWakes.load(std::memory_order_acquire);
    while (times > 0 && !SkippedWakes.compare_exchange_weak(times, times - 1)) {
    }
    return times > 0;
}

bool MicrophoneStream::Start() {
    if (IsGone()) return false;
    const std::uint64_t now = Microseconds();
    Feed = Device->JoinFeed(now, Format.Rate, NextFrame);
    {
        const std::scoped_lock lock(Lock);
        WakeFrame = 0;
    }
    StoppedAt.store(NotYet, std::memory_order_relaxed);
    StartedAt.store(now, std::memory_order_release);
    return true;
}

void MicrophoneStream::Stop() {
    UnscheduleAll(this);
    if (StartedAt.load(std::memory_order_relaxed) == NotYet) return;
    std::uint64_t running = NotYet;
    if (StoppedAt.compare_exchange_strong(running, Microseconds(), std::memory_order_acq_rel))
        Device->LeaveFeed();
}

std::uint64_t MicrophoneStream::Position() const {
    const std::uint64_t begin = StartedAt.load(std::memory_order_acquire);
    if (begin == NotYet) return 0;
    const std::uint64_t end = std::min(
        {StoppedAt.load(std::memory_order_acquire), Device->UnpluggedTime(), Microseconds()});
    const std::uint64_t passed = end - std::min(end, begin);
    return passed / Second * Format.Rate + passed % Second * Format.Rate / Second;
}

void MicrophoneStream::WakeAt(std::uint64_t frame) {
    const std::scoped_lock lock(Lock);
    Arm(frame);
}

void MicrophoneStream::Arm(std::uint64_t frame) {
    if (Pending != 0) Unschedule(Pending);
    Pending = 0;
    if (StoppedAt.load(std::memory_order_acquire) != NotYet || IsGone()) return;
    WakeStep = std::max<std::uint64_t>(frame - std::min(frame, WakeFrame), 1);
    WakeFrame = frame;
    // The first microsecond at which Position has reached the frame.
    const std::uint64_t passed = frame / Format.Rate * Second +
                                 (frame % Format.Rate * Second + Format.Rate - 1) / Format.Rate;
    const std::uint64_t due = StartedAt.load(std::memory_order_acquire) + passed;
    Pending = Schedule(Lane::Audio, due, &Wake, this);
}

// A wake-up to be skipped is scheduled anew, as many frames later as the last two calls of WakeAt
// were apart, since the owner does not call it again.
void MicrophoneStream::Wake(void* self, std::uintptr_t) {
    auto& stream = *static_cast<MicrophoneStream*>(self);
    if (stream.IsGone()) return;
    if (!stream.Device->SkipWake()) return stream.Owner.OnFramesCaptured();
    const std::scoped_lock lock(stream.Lock);
    stream.Arm(stream.WakeFrame + stream.WakeStep);
}

void MicrophoneStream::Read(void* pcm, std::uint64_t frames) {
    const std::size_t chunk = Samples.size() / Format.Channels;
    auto* target = static_cast<std::uint8_t*>(pcm);
    for (std::uint64_t left = frames; left > 0;) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, chunk));
        const std::span part(Samples.data(), count * Format.Channels);
        Feed({NextFrame, Format.Rate, Format.Channels, part});
        if (target != nullptr) WritePcm(part, Format.Bits, target);
        if (target != nullptr) target += part.size() * Format.Bits / 8;
        NextFrame += count;
        left -= count;
    }
}

std::mutex microphonesLock;
std::vector<std::shared_ptr<VirtualMicrophone>>
    microphones; // since PowerOn, those that are gone included

// Open streams find their microphone gone.
const machine::AtPowerOn atPowerOn([] {
    const std::scoped_lock lock(microphonesLock);
    for (const auto& microphone : microphones) microphone->Unplug();
    microphones.clear();
});

// Null for a microphone that was never added, or was removed by PowerOn.
std::shared_ptr<VirtualMicrophone> Find(machine::Microphone microphone) {
    const std::scoped_lock lock(microphonesLock);
    const auto place = static_cast<std::size_t>(microphone);
    return place < microphones.size() ? microphones[place] : nullptr;
}

std::shared_ptr<Level> Find(machine::Microphone microphone, const machine::ControlPlace& place) {
    const auto owner = Find(microphone);
    if (!owner) return nullptr;
    const LevelList& all = owner->Levels();
    const auto level = std::ranges::find(all, place, [](const auto& each) { return each->Place; });
    return level != all.end() ? *level : nullptr;
}

} // namespace

CaptureDeviceList AddedCaptureDevices() {
    const std::scoped_lock lock(microphonesLock);
    return {microphones.begin(), microphones.end()};
}

} // namespace device

namespace machine {

using namespace device;

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
    if (const auto found = Find(microphone)) found->SetFeed(std::move(generator));
}

void Unplug(Microphone microphone) {
    if (const auto found = Find(microphone)) found->Unplug();
}

void FallBehind(Microphone microphone, unsigned times) {
    if (const auto found = Find(microphone)) found->SkippedWakes = times;
}

CaptureStats StatsOf(Microphone microphone) {
    const auto found = Find(microphone);
    return found ? found->Stats() : CaptureStats{};
}

} // namespace machine
