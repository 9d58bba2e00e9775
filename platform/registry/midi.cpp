// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The machine's list of MIDI devices, and the back end that fills it. The synthesizer's output is
// always the last one.
#include "platform/machine/midi.h"
#include "platform/api/midi_back_end.h"
#include "platform/api/synthesizer.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/native.h"
#include "platform/machine/synthesizer.h"
#include "platform/registry/back_ends.h"

#include <mutex>

namespace device {
namespace {

struct DeviceList {
    std::mutex Lock;                                  // of the next three
    std::vector<std::shared_ptr<MidiDevice>> Devices; // without the synthesizer
    std::shared_ptr<MidiDevice> Synthesizer;          // null for none
    std::unique_ptr<MidiBackEnd> BackEnd;             // the one in use; null for none
    std::recursive_mutex WatchLock; // of the next; the watcher may set another one
    std::function<void()> Watcher;
    std::recursive_mutex FindLock; // of the next; the search itself lists devices
    bool SearchBegun = false;
    std::atomic<bool> SearchDone{false};
};

DeviceList& List() { return common::ImmortalSingleton<DeviceList>(); }

void NotifyWatcher() {
    const std::scoped_lock lock(List().WatchLock);
    if (const auto watcher = List().Watcher) watcher();
}

// A host that does not steer gets the computer's devices or, where those cannot be reached, one
// output whose messages come back at one input.
void FindOnce() {
    if (List().SearchDone.load(std::memory_order_acquire)) return;
    const std::scoped_lock lock(List().FindLock);
    if (std::exchange(List().SearchBegun, true)) return;
    if (!machine::UseNativeMidi().empty())
        machine::Connect(machine::AddMidiOutput("Loopback"), machine::AddMidiInput("Loopback"), 1);
    List().SearchDone.store(true, std::memory_order_release);
}

std::vector<std::string> UsersOf(MidiDirection direction, int number) {
    const auto device = MidiDeviceAt(direction, static_cast<std::uint64_t>(number));
    return device ? device->Users() : std::vector<std::string>{};
}

} // namespace

void MidiDevice::SetGone(bool gone) {
    unsigned changes = Changes;
    do
        if ((changes % 2 != 0) == gone) return;
    while (!Changes.compare_exchange_weak(changes, changes + 1, std::memory_order_acq_rel));
    NotifyWatcher();
}

void AddMidiDevice(std::shared_ptr<MidiDevice> device) {
    {
        const std::scoped_lock lock(List().Lock);
        List().Devices.push_back(std::move(device));
    }
    NotifyWatcher();
}

std::vector<std::shared_ptr<MidiDevice>> KnownMidiDevices(MidiDirection direction) {
    FindOnce();
    const std::scoped_lock lock(List().Lock);
    std::vector<std::shared_ptr<MidiDevice>> known = List().Devices;
    std::erase_if(known,
                  [direction](const auto& device) { return device->Direction != direction; });
    if (direction == MidiDirection::Output && List().Synthesizer)
        known.push_back(List().Synthesizer);
    return known;
}

std::shared_ptr<MidiDevice> MidiDeviceAt(MidiDirection direction, std::uint64_t number) {
    FindOnce();
    const std::scoped_lock lock(List().Lock);
    for (const auto& device : List().Devices)
        if (device->Direction == direction && !device->IsGone() && number-- == 0) return device;
    return direction == MidiDirection::Output && number == 0 ? List().Synthesizer : nullptr;
}

unsigned NumberOf(MidiDirection direction, const MidiDevice* sought) {
    FindOnce();
    const std::scoped_lock lock(List().Lock);
    unsigned number = 0;
    for (const auto& device : List().Devices) {
        if (device.get() == sought && !device->IsGone()) return number;
        number += device->Direction == direction && !device->IsGone();
    }
    const MidiDevice* const last = List().Synthesizer.get();
    return number + (direction == MidiDirection::Output && last && last != sought);
}

std::vector<std::shared_ptr<MidiDevice>> DefaultMidiOutputs() {
    const auto first = MidiDeviceAt(MidiDirection::Output, 0);
    const std::scoped_lock lock(List().Lock);
    const auto synthesizer = List().Synthesizer;
    std::vector<std::shared_ptr<MidiDevice>> outputs;
    if (synthesizer) outputs.push_back(synthesizer);
    outputs.push_back(first && first != synthesizer ? first : SilentMidiOutput());
    return outputs;
}

void RemoveMidiDevices() {
    List().SearchDone = true;
    std::unique_lock lock(List().Lock);
    auto backEnd = std::move(List().BackEnd);
    lock.unlock();
    backEnd.reset(); // before the list is emptied, since it may be adding a device
    lock.lock();
    auto removed = std::exchange(List().Devices, {});
    if (auto last = std::exchange(List().Synthesizer, nullptr)) removed.push_back(std::move(last));
    lock.unlock();
    for (const auto& device : removed) device->LeaveForGood();
}

} // namespace device

namespace machine {

using namespace device;

std::string UseNativeMidi() {
    RemoveMidiDevices();
    std::string reason;
    // Devices that a back end added before it failed are removed.
    std::unique_ptr<MidiBackEnd> backEnd(
        OpenBackEnd<OpenMidiFunction>(BackEndKind::Midi, reason, RemoveMidiDevices));
    auto synthesizer = MakeSynthesizerOutput();
    const std::scoped_lock lock(List().Lock);
    List().BackEnd.swap(backEnd);
    List().Synthesizer.swap(synthesizer);
    return reason;
}

bool HasSynthesizer() {
    FindOnce();
    const std::scoped_lock lock(List().Lock);
    return List().Synthesizer != nullptr;
}

std::string UseNative() {
    UseNativeMicrophones();
    return UseNativeMidi();
}

std::vector<std::string> UsersOfMidiInput(int number) {
    return UsersOf(MidiDirection::Input, number);
}
std::vector<std::string> UsersOfMidiOutput(int number) {
    return UsersOf(MidiDirection::Output, number);
}

void WatchMidiDevices(std::function<void()> watcher) {
    const std::scoped_lock lock(List().WatchLock);
    List().Watcher.swap(watcher);
}

} // namespace machine
