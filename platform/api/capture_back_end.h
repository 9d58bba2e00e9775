// What the capture back end gives to whoever loads it.
#pragma once

#include "platform/api/capture.h"

namespace machine {

class CaptureFinder {
public:
    // The microphones that are there, the system's default one first; none, with a sentence, if
    // the system cannot be asked. Waits two seconds at the most. Thread: any.
    virtual std::vector<std::shared_ptr<CaptureDevice>> Find(std::string& reason) = 0;

protected:
    ~CaptureFinder() = default;
};

// There is one, for the life of the process.
using OpenCaptureFunction = CaptureFinder*();

} // namespace machine

extern "C" machine::OpenCaptureFunction OpenZorCapture;
