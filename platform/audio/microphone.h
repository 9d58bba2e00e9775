// The virtual microphone: hears a feed, and can get into trouble on demand.
#pragma once

#include "platform/audio/capture_device.h"
#include "platform/audio/feed.h"

#include <atomic>
#include <mutex>

namespace machine {

class VirtualMicrophone : public CaptureDevice,
                          public std::enable_shared_from_this<VirtualMicrophone> {
public:
    explicit VirtualMicrophone(MicrophoneModel model);

    const std::string& Name() const override { return model_.Name; }
    std::uint32_t Formats() const override { return model_.Formats; }
    unsigned Channels() const override { return model_.Channels; }
    unsigned PositionUnit() const override { return model_.PositionUnit; }
    bool Supports(const PcmFormat& format) const override;
    bool Gone() const override { return goneAt_.load(std::memory_order_acquire) != Never; }
    bool Claim() override;
    void Release() override;
    std::unique_ptr<CaptureStream> NewStream(const PcmFormat& format, CaptureOwner& owner) override;

    // Steering.
    void SetFeed(std::shared_ptr<Feed> feed);
    // Scales what is captured from now on; null for no scaling. The factor may move at any time.
    void SetGain(std::shared_ptr<const std::atomic<float>> gain);
    void Unplug();
    void StopNotifying(bool on) { mute_.store(on, std::memory_order_release); }
    void FallBehind(unsigned notifications);
    CaptureStats Stats() const;

    // For its streams.
    static constexpr std::uint64_t Never = ~std::uint64_t{0};
    std::uint64_t GoneAt() const { return goneAt_.load(std::memory_order_acquire); }
    struct Beginning {
        std::unique_ptr<FeedReader> Reader;
        std::shared_ptr<const std::atomic<float>> Gain;
    };
    // A stream starts at this moment; it has to pair this by LeaveFeed.
    Beginning JoinFeed(std::uint64_t nowMicroseconds, const PcmFormat& format);
    void LeaveFeed();
    bool MayNotify();
    void Progress(const FeedProgress& progress, std::uint64_t frames);
    void Lost(std::uint64_t frames);

private:
    const MicrophoneModel model_;
    std::atomic<std::uint64_t> goneAt_{Never}; // machine time of the unplugging
    std::atomic<bool> mute_{false};

    mutable std::mutex lock_;       // of all below; held for moments only
    std::shared_ptr<Feed> feed_;    // of the next origin
    std::shared_ptr<Feed> playing_; // since the last one
    std::shared_ptr<const std::atomic<float>> gain_;
    unsigned behind_ = 0; // notifications to be left out
    CaptureStats stats_;
};

} // namespace machine
