#include "platform/audio/microphone_stream.h"

#include "platform/audio/pcm.h"
#include "platform/machine/clock.h"

#include <algorithm>

namespace machine {
namespace {

constexpr std::uint64_t Never = VirtualMicrophone::Never;
constexpr std::uint64_t Second = 1'000'000;

} // namespace

bool MicrophoneStream::Start() {
    if (Gone()) return false;
    const std::uint64_t now = Microseconds();
    feed_ = microphone_->JoinFeed(now, format_);
    stoppedAt_.store(Never, std::memory_order_relaxed);
    startedAt_.store(now, std::memory_order_release);
    return true;
}

void MicrophoneStream::Stop() {
    UnscheduleAll(this);
    if (startedAt_.load(std::memory_order_relaxed) == Never) return;
    std::uint64_t running = Never;
    if (stoppedAt_.compare_exchange_strong(running, Microseconds(), std::memory_order_acq_rel))
        microphone_->LeaveFeed();
}

std::uint64_t MicrophoneStream::Position() const {
    const std::uint64_t from = startedAt_.load(std::memory_order_acquire);
    if (from == Never) return 0;
    const std::uint64_t to = std::min(
        {stoppedAt_.load(std::memory_order_acquire), microphone_->GoneAt(), Microseconds()});
    const std::uint64_t passed = to - std::min(to, from);
    return passed / Second * format_.Rate + passed % Second * format_.Rate / Second;
}

void MicrophoneStream::WakeAt(std::uint64_t frame) {
    if (const Token earlier = wake_.exchange(0, std::memory_order_relaxed)) Unschedule(earlier);
    if (stoppedAt_.load(std::memory_order_acquire) != Never || Gone()) return;
    // The first microsecond at which Position has come to the frame.
    const std::uint64_t passed = frame / format_.Rate * Second +
                                 (frame % format_.Rate * Second + format_.Rate - 1) / format_.Rate;
    const std::uint64_t due = startedAt_.load(std::memory_order_acquire) + passed;
    wake_.store(Schedule(Lane::Audio, due, &Wake, this), std::memory_order_relaxed);
}

void MicrophoneStream::Wake(void* self, std::uintptr_t) {
    auto* stream = static_cast<MicrophoneStream*>(self);
    if (!stream->Gone()) stream->owner_.Captured();
}

void MicrophoneStream::Fill(float* samples, std::size_t frames) {
    feed_.Reader->Read(samples, frames);
    if (!feed_.Gain) return;
    const float gain = feed_.Gain->load(std::memory_order_relaxed);
    std::for_each_n(samples, frames * format_.Channels, [gain](float& sample) { sample *= gain; });
}

void MicrophoneStream::Read(void* pcm, std::uint64_t frames) {
    const std::size_t chunk = samples_.size() / format_.Channels;
    auto* to = static_cast<std::uint8_t*>(pcm);
    for (std::uint64_t left = frames; left > 0;) {
        const auto now = static_cast<std::size_t>(std::min<std::uint64_t>(left, chunk));
        Fill(samples_.data(), now);
        if (to != nullptr) {
            ToPcm(samples_.data(), now * format_.Channels, format_.Bits, to);
            to += now * format_.Channels * format_.Bits / 8;
        }
        left -= now;
    }
    microphone_->Progress(feed_.Reader->Progress(), frames);
}

} // namespace machine
