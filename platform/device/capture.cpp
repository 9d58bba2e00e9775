#include "platform/device/capture.h"

#include "platform/device/roster.h"

namespace machine {
namespace {

Roster<CaptureDevice>& All() {
    static auto& roster = *new Roster<CaptureDevice>;
    return roster;
}

} // namespace

void AddCaptureDevice(std::shared_ptr<CaptureDevice> device) { All().Add(std::move(device)); }
std::vector<std::shared_ptr<CaptureDevice>> CaptureDevices() { return All().Present(); }
void ForgetCaptureDevices() { All().Forget(); }

} // namespace machine
