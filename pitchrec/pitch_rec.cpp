// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Defaults of the interface.
#include "pitchrec/pitch_rec.h"

namespace Sonorel {

bool PitchRec::IsRunning() { return Enabled != 0; }
std::int32_t PitchRec::GetSignalLevel() { return SignalLevel.load(std::memory_order_relaxed); }

void PitchRec::SetReferencePitch(std::int32_t) {}
void PitchRec::SetAttackDetect(bool, std::int32_t) {}
void PitchRec::Reserved1(std::uint32_t) {}
void PitchRec::SetPeakFactorSet(std::int32_t) {}
void PitchRec::SetTrackingMode(bool) {}
void PitchRec::SetPitchBendOutput(bool) {}
void PitchRec::SetRawNoteOutput(bool) {}
void PitchRec::SetReservedFlag(bool) {}
void PitchRec::Reserved2(std::uint32_t) {}
void PitchRec::Reserved3(std::uint32_t) {}

bool PitchRec::Open(std::int32_t rate) {
    SignalLevel.store(0, std::memory_order_relaxed);
    SampleRate = rate;
    return true;
}

bool PitchRec::Enable(bool) { return true; }

bool PitchRec::GetNote(std::int32_t*, std::int32_t*, std::int32_t*, std::int32_t*) { return false; }

std::int32_t PitchRec::GetMicLevel() { return 0; }
bool PitchRec::SetMicLevel(std::int32_t) { return false; }
std::uint32_t PitchRec::GetMicThru() { return 0; }
bool PitchRec::SetMicThru(std::uint32_t) { return false; }
std::int32_t PitchRec::GetDevice() { return 0; }
bool PitchRec::SetDevice(std::int32_t) { return false; }
std::int32_t PitchRec::GetDeviceNames(TextStringArray&) { return 0; }

} // namespace Sonorel
