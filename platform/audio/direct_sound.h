// DirectSound capture as a library that may be there: what LoadLibraryA and GetProcAddress need.
#pragma once

#include "platform/audio/capture_device.h"
#include "platform/system/dsound.h"
#include "platform/system/kernel.h"

#include <memory>

namespace machine {

constexpr const char* DirectSoundModuleName = "DSOUND.DLL";

// Whether the library loads now.
bool DirectSoundLoads();
// An entry point of it, null if it has none of this name.
FARPROC DirectSoundEntry(const char* name);

void SetDirectSoundState(DirectSound state);

int CaptureObjects(); // that exist

// Counts one object for as long as it lives.
class CountedObject {
public:
    CountedObject();
    ~CountedObject();
    CountedObject(const CountedObject&) = delete;
    CountedObject& operator=(const CountedObject&) = delete;
};

} // namespace machine
