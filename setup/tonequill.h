// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// "Tonequill", the microphone's setup dialog. It reads and changes the running recogniser, if one
// is allocated. Thread: host.
#pragma once

#include "platform/platform.h"

#include <cstdint>

namespace tonequill {
enum : int {
    LevelSlider = 4,
    Meter = 6,
    ChannelField = 8,
    MicThru = 9,
    DeviceList = 11,
    EnableBox = 12,
    RangeMinField = 27, // hidden, as the next one; both are stored but not used
    RangeMaxField = 28,
    OutputVolume = 100,
    InputVolume = 101,
    Help = 32000,
};
constexpr int Resource = 6001;
constexpr UINT_PTR TickTimer = 1;
constexpr UINT TickMilliseconds = 50;
} // namespace tonequill

INT_PTR CALLBACK PRecSetupProc(HWND dialog, UINT message, WPARAM first, LPARAM second);

// Paints the level into the control's area. level: peak of the input in sample units; the meter
// shows 0 to 127.
void PaintMeter(HWND control, std::int32_t level);
