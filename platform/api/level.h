// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What a capture back end offers for levels: volumes and mutes, as the mixer calls present them. A
// Level belongs to a capture device (CaptureDevice::Levels), so levels have no entry point and no
// line in the registry's table of their own.
//
// A new back end derives a Level for each control of the sound server or driver. Applications use
// MicrophoneVolume and, where the microphone can be played through the speakers, MicrophoneMute; a
// control that the device lacks is left out of Levels, and applications do without it.
//
// Identity. A control is known by its Place: destination line, source line and type.
// Change. The user moves levels in other programs at any time. Applications poll, so Read returns
// the present value and no value is cached above this interface.
// Leaving and returning. While the device is gone, Read and Write return false, or use a value that
// the back end applies when the device returns.
// Threads. Any, several at once.
// Real time. No: Read and Write may ask a server and wait for its answer.
// Failure. Both return false and change nothing where the device refuses. No function throws.
#pragma once

#include "platform/machine/level.h"

#include <span>

namespace device {

// One control.
class Level {
public:
    Level(const machine::ControlPlace& place, std::uint32_t maximum, std::size_t values)
        : Place(place), Maximum(maximum), Values(values) {}
    virtual ~Level() = default;

    const machine::ControlPlace Place;
    const std::uint32_t Maximum; // the minimum is 0
    const std::size_t Values;    // one for each channel of its line, or one for all channels
    // values: as many as Values, each 0 to Maximum.
    virtual bool Read(std::span<std::uint32_t> values) const = 0;
    virtual bool Write(std::span<const std::uint32_t> values) = 0;
};

} // namespace device
