// One capture from a virtual microphone, paced by the machine's clock.
#pragma once

#include "platform/audio/microphone.h"
#include "platform/device/clock.h"

#include <array>

namespace machine {

class MicrophoneStream : public CaptureStream {
public:
    MicrophoneStream(std::shared_ptr<VirtualMicrophone> microphone, const PcmFormat& format,
                     CaptureOwner& owner)
        : microphone_(std::move(microphone)), format_(format), owner_(owner) {}
    ~MicrophoneStream() override { Stop(); }

    bool Start() override;
    void Stop() override;
    std::uint64_t Position() const override;
    void WakeAt(std::uint64_t frame) override;
    void Read(void* pcm, std::uint64_t frames) override;
    bool MayNotify() override { return microphone_->MayNotify(); }
    bool Gone() const override { return microphone_->Gone(); }
    void Lost(std::uint64_t frames) override { microphone_->Lost(frames); }

private:
    static void Wake(void* self, std::uintptr_t);
    void Fill(float* samples, std::size_t frames);

    const std::shared_ptr<VirtualMicrophone> microphone_;
    const PcmFormat format_;
    CaptureOwner& owner_;
    // Machine times, Never while not started and not stopped; published for Position by release.
    std::atomic<std::uint64_t> startedAt_{VirtualMicrophone::Never};
    std::atomic<std::uint64_t> stoppedAt_{VirtualMicrophone::Never};
    std::atomic<Token> wake_{0};
    VirtualMicrophone::Beginning feed_;
    std::array<float, 2048> samples_ = {};
};

} // namespace machine
