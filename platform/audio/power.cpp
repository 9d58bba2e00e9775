// What becomes of sound when the machine is switched off and on.
#include "platform/machine/power.h"

#include "platform/audio/capture_devices.h"
#include "platform/audio/direct_sound.h"
#include "platform/audio/microphone.h"
#include "platform/audio/mixer_handles.h"
#include "platform/audio/mixer_model.h"
#include "platform/audio/wave_in.h"

namespace machine {
namespace {

// Objects that somebody still holds find their device gone.
void Reset() {
    DropWaveIns();
    for (const auto& device : PresentCaptureDevices())
        if (auto* microphone = dynamic_cast<VirtualMicrophone*>(device.get())) microphone->Unplug();
    ForgetCaptureDevices();
    DropMixerHandles();
    ForgetMixers();
    OfferDirectSound(DirectSound::Present);
}
const AtPowerOn atPowerOn(Reset);

// As the machine stands at load.
[[maybe_unused]] const bool offered = (OfferDirectSound(DirectSound::Present), true);

} // namespace
} // namespace machine
