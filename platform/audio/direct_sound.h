// DirectSound capture as a library that may be there.
#pragma once

#include "platform/audio/capture_device.h"
#include "platform/system/dsound.h"

#include <memory>

namespace machine {

// Offers the library "DSOUND.DLL" to LoadLibraryA as told, or withdraws it.
void OfferDirectSound(DirectSound state);

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
