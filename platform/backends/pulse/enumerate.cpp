// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Lists the server's sources as microphones.
#include "platform/api/capture_back_end.h"
#include "platform/api/names.h"
#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <memory>

namespace device {
namespace {

class PulseBackEnd final : public CaptureBackEnd {
public:
    CaptureDeviceList FindDevices(std::string& reason) override {
        const PulseClient::Lock lock;
        reason = PulseClient::Instance().WaitForSources();
        CaptureDeviceList devices;
        for (const Source& source : PulseClient::Instance().Sources())
            devices.push_back(DeviceOf(source));
        if (reason.empty() && devices.empty()) reason = "The sound server has no microphone.";
        return devices;
    }

private:
    std::shared_ptr<PulseMicrophone> DeviceOf(const Source& source) {
        const auto known =
            std::ranges::find(Known, source.Name, [](auto& each) { return each->Id(); });
        if (known != Known.end()) return *known;
        std::vector<std::string> used;
        for (const auto& each : Known) used.push_back(each->Name());
        Known.push_back(
            std::make_shared<PulseMicrophone>(source, UniqueCaptureName(source.Description, used)));
        return Known.back();
    }

    // All since the process began, those that are gone included. Used with the client's lock held.
    std::vector<std::shared_ptr<PulseMicrophone>> Known;
};

} // namespace
} // namespace device

__attribute__((visibility("default"))) device::CaptureBackEnd* OpenZorCapture(std::string&) {
    static device::PulseBackEnd& backEnd = *new device::PulseBackEnd;
    return &backEnd;
}
