#include "platform/device/roster.h"

#include <mutex>
#include <utility>

namespace machine {
namespace {

template <class Device>
struct List {
    std::mutex Lock;
    std::vector<std::shared_ptr<Device>> Devices;
};

// Never destroyed, since devices' threads run until the process ends.
template <class Device>
List<Device>& All() {
    static List<Device>& list = *new List<Device>;
    return list;
}

} // namespace

template <class Device>
void Roster<Device>::Add(std::shared_ptr<Device> device) {
    const std::scoped_lock lock(All<Device>().Lock);
    All<Device>().Devices.push_back(std::move(device));
}

template <class Device>
std::vector<std::shared_ptr<Device>> Roster<Device>::Present() {
    const std::scoped_lock lock(All<Device>().Lock);
    auto& devices = All<Device>().Devices;
    std::erase_if(devices, [](const auto& device) { return device->Gone(); });
    return devices;
}

template <class Device>
void Roster<Device>::Forget() {
    const std::scoped_lock lock(All<Device>().Lock);
    All<Device>().Devices.clear();
}

template class Roster<CaptureDevice>;
template class Roster<LevelDevice>;

std::vector<std::shared_ptr<CaptureDevice>> CaptureDevices() {
    auto added = Roster<CaptureDevice>::Present();
    return added.empty() ? NativeCaptureDevices() : std::move(added);
}

std::vector<std::shared_ptr<LevelDevice>> LevelDevices() {
    auto levels = Roster<LevelDevice>::Present();
    if (!levels.empty()) return levels;
    for (const auto& device : NativeCaptureDevices()) levels.push_back(device->Levels());
    return levels;
}

} // namespace machine
