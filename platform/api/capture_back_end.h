// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The entry point of a capture back end's shared object. docs/new-back-end.md
#pragma once

#include "platform/api/capture.h"

namespace device {

class CaptureBackEnd {
public:
    // The devices that are plugged in, the system's default one first; none, with the reason in a
    // sentence, if the system does not answer. Blocks two seconds at most. Thread: any.
    virtual CaptureDeviceList FindDevices(std::string& reason) = 0;

protected:
    ~CaptureBackEnd() = default;
};

// The one object of this back end, which lives until the process ends. Null with the reason if the
// back end cannot work here at all; the registry then tries the next one. A sound server that does
// not run yet is no such reason: FindDevices reports that.
using OpenCaptureFunction = CaptureBackEnd*(std::string& reason);

} // namespace device

extern "C" __attribute__((visibility("default"))) device::OpenCaptureFunction OpenZorCapture;
