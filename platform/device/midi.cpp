#include "platform/device/midi.h"

#include "platform/machine/midi.h"

#include <mutex>

namespace machine {
namespace {

// Never destroyed, since threads of devices run until the process ends.
struct DeviceList {
    std::mutex Lock;
    std::vector<std::shared_ptr<MidiDevice>> Known;
    std::recursive_mutex WatchLock; // the watcher may set another one
    std::function<void()> Watcher;
};
DeviceList& The() {
    static DeviceList& list = *new DeviceList;
    return list;
}

void TellWatcher() {
    const std::scoped_lock lock(The().WatchLock);
    if (const auto watcher = The().Watcher) watcher();
}

} // namespace

void MidiDevice::Become(bool gone) {
    if (HasLeft.exchange(gone, std::memory_order_acq_rel) != gone) TellWatcher();
}

void AddMidiDevice(std::shared_ptr<MidiDevice> device) {
    {
        const std::scoped_lock lock(The().Lock);
        The().Known.push_back(std::move(device));
    }
    TellWatcher();
}

std::vector<std::shared_ptr<MidiDevice>> KnownMidiDevices(MidiWay way) {
    const std::scoped_lock lock(The().Lock);
    std::vector<std::shared_ptr<MidiDevice>> known = The().Known;
    std::erase_if(known, [way](const auto& device) { return device->Way != way; });
    return known;
}

std::shared_ptr<MidiDevice> MidiDeviceAt(MidiWay way, std::uint64_t number) {
    const std::scoped_lock lock(The().Lock);
    for (const auto& device : The().Known)
        if (device->Way == way && !device->Gone() && number-- == 0) return device;
    return nullptr;
}

unsigned NumberOf(MidiWay way, const MidiDevice* sought) {
    const std::scoped_lock lock(The().Lock);
    unsigned number = 0;
    for (const auto& device : The().Known) {
        if (device.get() == sought && !device->Gone()) break;
        number += device->Way == way && !device->Gone();
    }
    return number;
}

void ForgetMidiDevices() {
    std::unique_lock lock(The().Lock);
    const auto forgotten = std::exchange(The().Known, {});
    lock.unlock();
    for (const auto& device : forgotten) {
        device->Leave();
        device->Forgotten();
    }
}

void WatchMidiDevices(std::function<void()> watcher) {
    const std::scoped_lock lock(The().WatchLock);
    The().Watcher.swap(watcher);
}

} // namespace machine
