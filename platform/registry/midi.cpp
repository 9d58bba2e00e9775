#include "platform/api/midi.h"

#include "platform/common/immortal_singleton.h"
#include "platform/machine/midi.h"

#include <mutex>

namespace machine {
namespace {

struct DeviceList {
    std::mutex Lock;
    std::vector<std::shared_ptr<MidiDevice>> Known;
    std::unique_ptr<MidiFinder> Finder;
    std::recursive_mutex WatchLock; // the watcher may set another one
    std::function<void()> Watcher;
    std::recursive_mutex FindLock; // finding looks, too
    bool Finding = false;
    std::atomic<bool> Found{false};
};

void TellWatcher() {
    const std::scoped_lock lock(The<DeviceList>().WatchLock);
    if (const auto watcher = The<DeviceList>().Watcher) watcher();
}

void FindOnce() {
    if (The<DeviceList>().Found.load(std::memory_order_acquire)) return;
    const std::scoped_lock lock(The<DeviceList>().FindLock);
    if (std::exchange(The<DeviceList>().Finding, true)) return;
    FindMidiDevices();
    The<DeviceList>().Found.store(true, std::memory_order_release);
}

std::vector<std::string> UsersOf(MidiWay way, int number) {
    const auto device = MidiDeviceAt(way, static_cast<std::uint64_t>(number));
    return device ? device->Users() : std::vector<std::string>{};
}

} // namespace

void MidiDevice::Become(bool gone) {
    unsigned moves = Moves();
    do
        if ((moves % 2 != 0) == gone) return;
    while (!Moved.compare_exchange_weak(moves, moves + 1, std::memory_order_acq_rel));
    TellWatcher();
}

void AddMidiDevice(std::shared_ptr<MidiDevice> device) {
    {
        const std::scoped_lock lock(The<DeviceList>().Lock);
        The<DeviceList>().Known.push_back(std::move(device));
    }
    TellWatcher();
}

std::vector<std::shared_ptr<MidiDevice>> KnownMidiDevices(MidiWay way) {
    FindOnce();
    const std::scoped_lock lock(The<DeviceList>().Lock);
    std::vector<std::shared_ptr<MidiDevice>> known = The<DeviceList>().Known;
    std::erase_if(known, [way](const auto& device) { return device->Way != way; });
    return known;
}

std::shared_ptr<MidiDevice> MidiDeviceAt(MidiWay way, std::uint64_t number) {
    FindOnce();
    const std::scoped_lock lock(The<DeviceList>().Lock);
    for (const auto& device : The<DeviceList>().Known)
        if (device->Way == way && !device->Gone() && number-- == 0) return device;
    return nullptr;
}

unsigned NumberOf(MidiWay way, const MidiDevice* sought) {
    FindOnce();
    const std::scoped_lock lock(The<DeviceList>().Lock);
    unsigned number = 0;
    for (const auto& device : The<DeviceList>().Known) {
        if (device.get() == sought && !device->Gone()) break;
        number += device->Way == way && !device->Gone();
    }
    return number;
}

std::shared_ptr<MidiDevice> DefaultMidiOutput() {
    const auto first = MidiDeviceAt(MidiWay::Out, 0);
    return first ? first : StandInMidiOutput();
}

void SetMidiFinder(std::unique_ptr<MidiFinder> finder) {
    const std::scoped_lock lock(The<DeviceList>().Lock);
    The<DeviceList>().Finder.swap(finder);
}

std::vector<std::string> UsersOfMidiInput(int number) { return UsersOf(MidiWay::In, number); }
std::vector<std::string> UsersOfMidiOutput(int number) { return UsersOf(MidiWay::Out, number); }

void ForgetMidiDevices() {
    The<DeviceList>().Found = true;
    std::unique_lock lock(The<DeviceList>().Lock);
    auto finder = std::move(The<DeviceList>().Finder);
    lock.unlock();
    finder.reset(); // what it has just found is forgotten as well
    lock.lock();
    const auto forgotten = std::exchange(The<DeviceList>().Known, {});
    lock.unlock();
    for (const auto& device : forgotten) device->LeaveForGood();
}

void WatchMidiDevices(std::function<void()> watcher) {
    const std::scoped_lock lock(The<DeviceList>().WatchLock);
    The<DeviceList>().Watcher.swap(watcher);
}

} // namespace machine
