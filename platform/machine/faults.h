// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Makes system calls fail, and counts them. Thread: any.
#pragma once

#include <cstdint>
#include <optional>
#include <type_traits>

namespace machine {

// The system calls that can be counted and made to fail.
enum class Call : int {
    GlobalAlloc,
    GlobalLock,
    LoadLibraryA,
    GetProcAddress,
    WritePrivateProfileStringA,
    CreateEventA,
    _beginthreadex,
    timeGetDevCaps,
    timeBeginPeriod,
    timeEndPeriod,
    timeSetEvent,
    timeKillEvent,
    midiInGetDevCapsA,
    midiInOpen,
    midiInStart,
    midiInStop,
    midiInReset,
    midiInClose,
    midiOutGetDevCapsA,
    midiOutOpen,
    midiOutReset,
    midiOutClose,
    midiOutShortMsg,
    midiOutCachePatches,
    waveInGetDevCapsA,
    waveInOpen,
    waveInClose,
    waveInPrepareHeader,
    waveInUnprepareHeader,
    waveInAddBuffer,
    waveInStart,
    waveInStop,
    waveInReset,
    waveInGetPosition,
    mixerGetDevCapsA,
    mixerOpen,
    mixerClose,
    mixerGetLineInfoA,
    mixerGetLineControlsA,
    mixerGetControlDetailsA,
    mixerSetControlDetails,
    DirectSoundCaptureEnumerateA,
    DirectSoundCaptureCreate,
    CreateCaptureBuffer,
    CaptureBufferQueryInterface,
    SetNotificationPositions,
    CaptureBufferStart,
    CaptureBufferStop,
    CaptureBufferGetCurrentPosition,
    CaptureBufferLock,
    DialogBoxParamA,
    GetDC,
    Count
};

// Makes the nth next call (1 is the very next) return result and do nothing else; the following
// times - 1 calls too, all following calls if times is 0. result is the error code, or 0/null for
// calls that report failure that way.
void FailCall(Call call, int nth, std::intptr_t result, int times = 1);
void ClearFaults();

// Calls made since PowerOn or ResetCallCounts, failed ones included.
unsigned CallCount(Call call);
void ResetCallCounts();

// Used at the beginning of each call: counts it, and converts to true and to the result that
// FailCall ordered if this call is to fail. Real time: yes while no failure is ordered.
//     if (const Failure failure{Call::timeSetEvent}) return failure;
class Failure {
public:
    explicit Failure(Call call);
    explicit operator bool() const { return Result.has_value(); }
    template <class Type>
    requires(!std::is_same_v<Type, bool>) operator Type() const {
        if constexpr (std::is_pointer_v<Type>)
            return reinterpret_cast<Type>(*Result);
        else
            return static_cast<Type>(*Result);
    }

private:
    std::optional<std::intptr_t> Result;
};

} // namespace machine
