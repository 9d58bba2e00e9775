// By what a microphone is known again.
#pragma once

#include "support/text_string_array.h"

#include <cstdint>

namespace Sonorel {

// A microphone is known by its name: the two capture classes number devices differently, and the
// numbers move when one is plugged in or out. waveIn gives the first 31 characters of a name and
// DirectSound all of them, so a name that was cut is known again by these 31. Where they fit
// several devices, the one whose whole name fits alone is it, else the one at the same place among
// them.
class MicrophoneName {
public:
    // The entry of a class's device list at an index that is in it.
    MicrophoneName(const TextStringArray& devices, std::int32_t index);

    // Where it stands in the present device list of either class; -1 if it is not there.
    std::int32_t PlaceIn(const TextStringArray& devices) const;
    const char* Text() const { return Name.Text(); }

private:
    TextString Name;
    std::int32_t Twins = 0; // that stood before it: devices that waveIn gives the same name
};

} // namespace Sonorel
