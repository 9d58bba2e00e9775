// Choosing the microphones of the machine.
#include "platform/machine/native.h"
#include "platform/machine/power.h"
#include "platform/api/capture_back_end.h"
#include "platform/registry/shared_object.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace machine {
namespace {

std::atomic<bool> native{true}; // settled before the library's threads look

struct Choice {
    std::mutex Lock;
    std::string Problem;
    std::string Preferred;
};

// Never destroyed, since the library may be closed at the process's very end.
Choice& The() {
    static Choice& choice = *new Choice;
    return choice;
}

const AtPowerOn atPowerOn([] {
    native = false;
    const std::scoped_lock lock(The().Lock);
    The().Problem.clear();
    The().Preferred.clear();
});

// Loaded when microphones are first asked for, and tried anew while it cannot be.
CaptureFinder* Finder(std::string& reason) {
    static std::atomic<CaptureFinder*> finder{nullptr};
    if (finder) return finder;
    const auto open = reinterpret_cast<OpenCaptureFunction*>(
        BackEndFunction("pulse", "OpenZorCapture", reason));
    if (!open) {
        reason = "The microphones of this computer cannot be reached: " + reason + ".";
        return nullptr;
    }
    return finder = open();
}

} // namespace

void UseNativeMicrophones() { native = true; }

void PreferMicrophone(const std::string& id) {
    const std::scoped_lock lock(The().Lock);
    The().Preferred = id;
}

std::string MicrophoneProblem() {
    const std::scoped_lock lock(The().Lock);
    return The().Problem;
}

std::vector<FoundMicrophone> FindMicrophones() {
    std::vector<FoundMicrophone> found;
    for (const auto& device : NativeCaptureDevices())
        found.push_back({device->Id(), device->Name(), device->IsMonitor(), device->Visit()});
    return found;
}

std::vector<std::shared_ptr<CaptureDevice>> NativeCaptureDevices() {
    if (!native) return {};
    std::string reason;
    CaptureFinder* const finder = Finder(reason);
    auto devices = finder ? finder->Find(reason) : std::vector<std::shared_ptr<CaptureDevice>>{};
    const std::scoped_lock lock(The().Lock);
    The().Problem = reason;
    std::stable_partition(devices.begin(), devices.end(),
                          [](const auto& device) { return device->Id() == The().Preferred; });
    return devices;
}

} // namespace machine
