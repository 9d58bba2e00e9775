// The list of capture devices that waveIn and DirectSound share.
#pragma once

#include "platform/audio/capture_device.h"
#include "platform/system/dsound.h"

#include <vector>

namespace machine {

// Gives the device an identity that stays: its place among all that were ever added.
int AddCaptureDevice(std::shared_ptr<CaptureDevice> device);

// Those still there, in order: waveIn's device numbers.
std::vector<std::shared_ptr<CaptureDevice>> PresentCaptureDevices();
// Null for a number or an identity that is not there.
std::shared_ptr<CaptureDevice> CaptureDeviceByNumber(unsigned number);
std::shared_ptr<CaptureDevice> CaptureDeviceById(int id);
int IdOfCaptureDevice(const CaptureDevice& device); // -1 if it was forgotten
int NumberOfCaptureDevice(int id);                  // -1 if it is gone

// DirectSound knows the devices by these. No pointer and the GUID of zeros are the
// first one, any other unknown one is null.
GUID GuidOfCaptureDevice(int id);
std::shared_ptr<CaptureDevice> CaptureDeviceByGuid(const GUID* guid);

void ForgetCaptureDevices();

} // namespace machine
