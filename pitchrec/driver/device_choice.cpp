#include "pitchrec/driver/device_choice.h"

#include "pitchrec/driver/prec_driver.h"

namespace {

constexpr std::int32_t CaptureRate = 22050;

std::int32_t ChosenDevice = 0;

} // namespace

bool ChoosePRecDevice(std::int32_t device) {
    const std::int32_t before = Recogniser->GetDevice();
    const bool listening = Recogniser->IsRunning();
    if (Recogniser->SetDevice(device)) {
        ChosenDevice = device;
        return true;
    }
    Recogniser->SetDevice(before);
    if (Recogniser->Open(CaptureRate)) Recogniser->Enable(listening);
    return false;
}

bool OpenOnChosenDevice(Sonorel::PitchRec& recogniser) {
    recogniser.SetDevice(ChosenDevice);
    if (recogniser.Open(CaptureRate)) return true;
    if (ChosenDevice == 0) return false;
    ChosenDevice = 0;
    recogniser.SetDevice(0);
    return recogniser.Open(CaptureRate);
}
