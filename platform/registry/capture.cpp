// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The microphones of the machine: those that a host has added, else the computer's own.
#include "platform/api/capture_back_end.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/native.h"
#include "platform/machine/power.h"
#include "platform/registry/back_ends.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace device {
namespace {

std::atomic<bool> native{true}; // set before the library's threads read it

struct Choice {
    std::mutex Lock;
    std::string Problem;     // of the last search
    std::string PreferredId; // empty for the system's default
};

// The library may be closed as the process ends, when a destroyed object would be used.
Choice& CurrentChoice() { return common::ImmortalSingleton<Choice>(); }

const machine::AtPowerOn atPowerOn([] {
    native = false;
    const std::scoped_lock lock(CurrentChoice().Lock);
    CurrentChoice().Problem.clear();
    CurrentChoice().PreferredId.clear();
});

// Opened when microphones are first listed, and tried anew while that fails.
CaptureBackEnd* OpenedBackEnd(std::string& reason) {
    static std::atomic<CaptureBackEnd*> opened{nullptr};
    if (!opened) opened = OpenBackEnd<OpenCaptureFunction>(BackEndKind::Capture, reason);
    return opened;
}

// Empty unless the machine uses the computer's microphones.
CaptureDeviceList NativeCaptureDevices() {
    if (!native) return {};
    std::string reason;
    CaptureBackEnd* const backEnd = OpenedBackEnd(reason);
    auto devices = backEnd ? backEnd->FindDevices(reason) : CaptureDeviceList{};
    const std::scoped_lock lock(CurrentChoice().Lock);
    CurrentChoice().Problem = reason;
    std::stable_partition(devices.begin(), devices.end(), [](const auto& device) {
        return device->Id() == CurrentChoice().PreferredId;
    });
    return devices;
}

} // namespace

CaptureDeviceList CaptureDevices() {
    CaptureDeviceList added = AddedCaptureDevices();
    if (added.empty()) return NativeCaptureDevices();
    std::erase_if(added, [](const auto& device) { return device->IsGone(); });
    return added;
}

} // namespace device

namespace machine {

using namespace device;

void UseNativeMicrophones() { native = true; }

void PreferMicrophone(const std::string& id) {
    const std::scoped_lock lock(CurrentChoice().Lock);
    CurrentChoice().PreferredId = id;
}

std::string MicrophoneProblem() {
    const std::scoped_lock lock(CurrentChoice().Lock);
    return CurrentChoice().Problem;
}

std::vector<FoundMicrophone> FindMicrophones() {
    std::vector<FoundMicrophone> found;
    for (const auto& device : NativeCaptureDevices())
        found.push_back(
            {device->Id(), device->Name(), device->IsMonitor(), device->ConnectionId()});
    return found;
}

} // namespace machine
