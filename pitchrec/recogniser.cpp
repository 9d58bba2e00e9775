// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Construction, opening and settings of the recogniser, and calls forwarded to its capture object.
#include "pitchrec/pitch_arithmetic.h"
#include "pitchrec/pitch_rec.h"
#include "soundin/sound_in.h"

#include <new>

namespace Sonorel {

namespace {
constexpr std::int32_t AnalysisRate = 22050; // Hz, for every device rate
constexpr std::int32_t FramesInStore = 4;
constexpr double MicLevelUnits = 128.0; // mic level at SoundIn level 1.0
} // namespace

PitchRecWaveIn::PitchRecWaveIn(SoundIn* input) : Input(input) {
    if (Input) Input->SetCallback(&PitchRecWaveIn::ProcessChunk, this);
    Notes.reset(new (std::nothrow) NoteRing);
}

PitchRecWaveIn::~PitchRecWaveIn() {
    if (!Input) return;
    Input->Stop();
    Input->Close();
    Input.reset();
}

bool PitchRecWaveIn::Open(std::int32_t rate) {
    Enable(false);
    if (!Input || !Notes || !Notes->IsUsable()) return false;
    Input->Close();
    if (!Input->Open(static_cast<std::uint32_t>(rate))) return false;
    PitchRec::Open(AnalysisRate);
    const std::int32_t frameSamples = SampleRate * 512 / 22050;
    StoreSize = frameSamples * FramesInStore;
    ValidSamples = 0;
    ClearHistories();
    SampleStore.reset(new (std::nothrow) std::int16_t[static_cast<std::size_t>(StoreSize)]());
    if (!SampleStore) StoreSize = 0; // every block is then too long and dropped
    Now = FrameState{};
    Last = FrameState{};
    return SampleStore != nullptr;
}

bool PitchRecWaveIn::Enable(bool on) {
    if (!Input) return false;
    const bool result = on ? Input->Start() : Input->Stop();
    Enabled = result ? 1 : 0;
    return result;
}

bool PitchRecWaveIn::IsRunning() { return Input && Input->Running.load() != 0; }

void PitchRecWaveIn::SetReferencePitch(std::int32_t hertz) {
    ReferencePitch.store(hertz, std::memory_order_relaxed);
}

void PitchRecWaveIn::SetAttackDetect(bool on, std::int32_t threshold) {
    AttackThreshold.store(on ? threshold : 0, std::memory_order_relaxed);
}

void PitchRecWaveIn::SetPeakFactorSet(std::int32_t set) {
    if (set == 0 || set == 1) PeakFactorSet.store(set, std::memory_order_relaxed);
}

void PitchRecWaveIn::SetTrackingMode(bool sliding) {
    TrackingMode.store(sliding ? 1 : 0, std::memory_order_relaxed);
}

void PitchRecWaveIn::SetPitchBendOutput(bool on) {
    PitchBendOutput.store(on ? 1 : 0, std::memory_order_relaxed);
}

void PitchRecWaveIn::SetRawNoteOutput(bool on) {
    RawNoteOutput.store(on ? 1 : 0, std::memory_order_relaxed);
}

void PitchRecWaveIn::SetReservedFlag(bool on) { ReservedFlag.store(on, std::memory_order_relaxed); }

void PitchRecWaveIn::Reserved3(std::uint32_t) {}

bool PitchRecWaveIn::GetNote(std::int32_t* time, std::int32_t* status, std::int32_t* data1,
                             std::int32_t* data2) {
    PackedMessage message = 0;
    if (!Notes || !Notes->PopNote(*time, message)) return false;
    *status = static_cast<std::int32_t>(message >> 16 & 0xFF);
    *data1 = static_cast<std::int32_t>(message >> 8 & 0xFF);
    *data2 = static_cast<std::int32_t>(message & 0xFF);
    return true;
}

std::int32_t PitchRecWaveIn::GetMicLevel() {
    return Input ? Truncated(Input->GetLevel() * MicLevelUnits) : 0;
}

bool PitchRecWaveIn::SetMicLevel(std::int32_t level) {
    return Input && Input->SetLevel(level * (1.0 / MicLevelUnits));
}

std::uint32_t PitchRecWaveIn::GetMicThru() { return Input ? Input->GetMicThru() : 0; }
bool PitchRecWaveIn::SetMicThru(std::uint32_t on) { return Input && Input->SetMicThru(on); }
std::int32_t PitchRecWaveIn::GetDevice() { return Input ? Input->GetDevice() : 0; }
bool PitchRecWaveIn::SetDevice(std::int32_t device) { return Input && Input->SetDevice(device); }

std::int32_t PitchRecWaveIn::GetDeviceNames(TextStringArray& names) {
    return Input ? Input->GetDeviceNames(names) : 0;
}

void PitchRecWaveIn::ClearHistories() {
    FreqHistory.fill(0.0);
    JumpHistory.fill(0.0);
}

} // namespace Sonorel
