#include "platform/audio/microphone.h"

#include "platform/audio/microphone_stream.h"
#include "platform/machine/clock.h"

#include <algorithm>
#include <utility>

namespace machine {
namespace {

// Bit of dwFormats, 0 for a format that it cannot tell.
std::uint32_t FormatBit(const PcmFormat& format) {
    const bool fits =
        (format.Channels == 1 || format.Channels == 2) && (format.Bits == 8 || format.Bits == 16);
    if (!fits) return 0;
    const unsigned within = (format.Channels - 1) + (format.Bits == 16 ? 2 : 0);
    switch (format.Rate) {
    case 11025:
        return WAVE_FORMAT_1M08 << within;
    case 22050:
        return WAVE_FORMAT_2M08 << within;
    case 44100:
        return WAVE_FORMAT_4M08 << within;
    default:
        return 0;
    }
}

} // namespace

VirtualMicrophone::VirtualMicrophone(MicrophoneModel model)
    : model_(std::move(model)), feed_(SilentFeed()) {}

bool VirtualMicrophone::Supports(const PcmFormat& format) const {
    if (format.Channels > model_.Channels) return false;
    return (FormatBit(format) & model_.Formats) != 0 ||
           std::ranges::find(model_.MoreFormats, format) != model_.MoreFormats.end();
}

bool VirtualMicrophone::Claim() {
    const std::scoped_lock lock(lock_);
    if (model_.Exclusive && stats_.Open > 0) return false;
    ++stats_.Open;
    return true;
}

void VirtualMicrophone::Release() {
    const std::scoped_lock lock(lock_);
    --stats_.Open;
}

std::unique_ptr<CaptureStream> VirtualMicrophone::NewStream(const PcmFormat& format,
                                                            CaptureOwner& owner) {
    StartLane(Lane::Audio); // now, rather than at Start
    return std::make_unique<MicrophoneStream>(shared_from_this(), format, owner);
}

void VirtualMicrophone::SetFeed(std::shared_ptr<Feed> feed) {
    const std::scoped_lock lock(lock_);
    feed_ = std::move(feed);
}

void VirtualMicrophone::SetGain(std::shared_ptr<const std::atomic<float>> gain) {
    const std::scoped_lock lock(lock_);
    gain_ = std::move(gain);
}

void VirtualMicrophone::Unplug() {
    std::uint64_t never = Never; // the first unplugging counts
    goneAt_.compare_exchange_strong(never, Microseconds(), std::memory_order_acq_rel);
}

void VirtualMicrophone::FallBehind(unsigned notifications) {
    const std::scoped_lock lock(lock_);
    behind_ = notifications;
}

CaptureStats VirtualMicrophone::Stats() const {
    const std::scoped_lock lock(lock_);
    return stats_;
}

VirtualMicrophone::Beginning VirtualMicrophone::JoinFeed(std::uint64_t nowMicroseconds,
                                                         const PcmFormat& format) {
    std::shared_ptr<Feed> playing;
    Beginning beginning;
    std::uint64_t origin = 0;
    {
        const std::scoped_lock lock(lock_);
        if (stats_.Capturing++ == 0) {
            playing_ = feed_;
            stats_.OriginMicroseconds = nowMicroseconds;
            stats_.Started = true;
            stats_.Ended = stats_.ReadFailed = false;
            stats_.FileFrames = 0;
        }
        playing = playing_;
        origin = stats_.OriginMicroseconds;
        beginning.Gain = gain_;
    }
    const std::uint64_t late = nowMicroseconds - std::min(nowMicroseconds, origin);
    const std::uint64_t frame = (late * format.Rate + 500'000) / 1'000'000;
    beginning.Reader = playing->From(frame, format.Rate, format.Channels);
    return beginning;
}

void VirtualMicrophone::LeaveFeed() {
    const std::scoped_lock lock(lock_);
    --stats_.Capturing;
}

bool VirtualMicrophone::MayNotify() {
    if (mute_.load(std::memory_order_acquire)) return false;
    const std::scoped_lock lock(lock_);
    if (behind_ > 0) {
        --behind_;
        return false;
    }
    ++stats_.Notifications;
    return true;
}

void VirtualMicrophone::Progress(const FeedProgress& progress, std::uint64_t frames) {
    const std::scoped_lock lock(lock_);
    stats_.Frames += frames;
    stats_.FileFrames = std::max(stats_.FileFrames, progress.FileFrames);
    stats_.Ended |= progress.Ended;
    stats_.ReadFailed |= progress.Failed;
}

void VirtualMicrophone::Lost(std::uint64_t frames) {
    const std::scoped_lock lock(lock_);
    stats_.FramesLost += frames;
}

} // namespace machine
