// The seam of levels: volumes and mutes, as the mixer calls present them.
//
// To write the next back end: derive a Level for each control that the sound server or the driver
// has, and give them by CaptureDevice::Levels. A microphone needs a MicrophoneVolume and, where it
// can be heard through the speakers, a MicrophoneMute. What the device lacks is left out, and
// applications do without.
//
// A user moves levels in other programs at any time, and nobody is told: applications ask when
// they want to know, so Read tells what holds now and nothing is remembered above the seam.
//
// Threads. Any, several at once.
// Real time. None: Read and Write may ask a server and wait for its answer.
// Failure. Both say false and change nothing where the device refuses or is gone.
#pragma once

#include "platform/machine/level.h"

#include <span>

namespace machine {

// One control.
class Level {
public:
    Level(const ControlPlace& place, std::uint32_t maximum, std::size_t values)
        : Place(place), Maximum(maximum), Values(values) {}
    virtual ~Level() = default;

    const ControlPlace Place;
    const std::uint32_t Maximum; // the least is 0
    const std::size_t Values;    // one for each channel of its line, or one for all of them
    // values: one for each, when writing within the range.
    virtual bool Read(std::span<std::uint32_t> values) const = 0;
    virtual bool Write(std::span<const std::uint32_t> values) = 0;
};

} // namespace machine
