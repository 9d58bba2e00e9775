// The microphone's setup dialog. It works on the live recogniser, if there is one, and runs on the
// host's thread.
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
    RangeMinField = 27, // hidden, with the next one: stored, and used by nothing
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

// Paints the present level over the control's area; anything that lies outside it is left alone.
// level: peak of the input in sample units, of which 0 to 127 are on the meter.
void PaintMeter(HWND control, std::int32_t level);
