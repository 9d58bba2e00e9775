#include "platform/virtual/capture.h"

#include "platform/audio/capture_devices.h"
#include "platform/audio/direct_sound.h"
#include "platform/audio/microphone.h"
#include "platform/audio/mixer_model.h"
#include "platform/audio/sound_file.h"
#include "platform/audio/wave_in.h"
#include "platform/audio/wave_in_handle.h"

namespace machine {
namespace {

// Null for one that was never added, or was forgotten at a PowerOn.
std::shared_ptr<VirtualMicrophone> Find(Microphone microphone) {
    return std::dynamic_pointer_cast<VirtualMicrophone>(
        CaptureDeviceById(static_cast<int>(microphone)));
}

} // namespace

Microphone AddMicrophone(const MicrophoneModel& model) {
    const auto microphone =
        Microphone{AddCaptureDevice(std::make_shared<VirtualMicrophone>(model))};
    if (model.WithMixer) SetMixerOf(microphone, AddMixer(MicrophoneMixer(model.Name)));
    return microphone;
}

int DeviceNumber(Microphone microphone) {
    return NumberOfCaptureDevice(static_cast<int>(microphone));
}

FileFeed FeedFile(Microphone microphone, const std::string& path, std::uint32_t leadMilliseconds) {
    FileFeed told;
    const auto feed = OpenFileFeed(path, leadMilliseconds, told);
    const auto hears = Find(microphone);
    if (feed && hears) hears->SetFeed(feed);
    return told;
}

FileFeed ProbeSoundFile(const std::string& path) {
    FileFeed told;
    SoundFile::Open(path, told);
    return told;
}

void FeedGenerator(Microphone microphone, Generator generator) {
    if (const auto hears = Find(microphone))
        hears->SetFeed(generator ? GeneratedFeed(std::move(generator)) : SilentFeed());
}

void FeedSilence(Microphone microphone) { FeedGenerator(microphone, nullptr); }

void LetVolumeScale(Microphone microphone, bool on) {
    const auto hears = Find(microphone);
    if (!hears) return;
    const auto mixer = MixerOfCaptureDevice(static_cast<int>(microphone));
    hears->SetGain(on && mixer ? mixer->Gain : nullptr);
}

void Unplug(Microphone microphone) {
    if (const auto gone = Find(microphone)) gone->Unplug();
}

void StopNotifying(Microphone microphone, bool on) {
    if (const auto mute = Find(microphone)) mute->StopNotifying(on);
}

void FallBehind(Microphone microphone, unsigned notifications) {
    if (const auto late = Find(microphone)) late->FallBehind(notifications);
}

void SetDirectSound(DirectSound state) { OfferDirectSound(state); }

CaptureStats StatsOf(Microphone microphone) {
    const auto asked = Find(microphone);
    return asked ? asked->Stats() : CaptureStats{};
}

int OpenWaveIns() { return OpenWaveInHandles(); }
int OpenCaptureObjects() { return CaptureObjects(); }
int PreparedWaveHeaders() { return PreparedHeaders(); }

int WaveCallsDuringReset() { return HeaderCallsDuringReset(); }

} // namespace machine
