// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Pushes note messages for the changes from the last frame to this one.
#include "pitchrec/pitch_rec.h"

#include <algorithm>

namespace Sonorel {

namespace {

// Status bytes. Their channel is 0 for decided notes and 1 (Detected) for notes of single frames.
constexpr std::uint32_t NoteOff = 0x80;
constexpr std::uint32_t NoteOn = 0x90;
constexpr std::uint32_t PitchBend = 0xE0;
constexpr std::uint32_t Detected = 0x01;
constexpr std::int32_t ReleaseVelocity = 0x40;

// One cent is one unit of pitch bend, regardless of the bend range of the receiver.
PackedMessage BendMessage(std::uint32_t status, std::int32_t cents) {
    const std::int32_t bend = std::clamp(cents, -8192, 8191) + 8192;
    return PackMessage(status, bend & 0x7F, bend >> 7 & 0x7F);
}

} // namespace

// In the order that a receiver needs: note off before note on, pitch bend after note on.
void PitchRecWaveIn::EmitNotes() {
    const bool bends =
        PitchBendOutput.load(std::memory_order_relaxed) != 0 && Now.CentsOffset != Last.CentsOffset;
    const bool raw = RawNoteOutput.load(std::memory_order_relaxed) != 0;
    if (raw) EmitDetected(bends);

    if (Now.ActiveNote != Last.ActiveNote) EmitChange(0, Last.ActiveNote, Now.ActiveNote);
    if (!raw && bends && Now.ActiveNote != NoNote)
        Notes->PushNote(Now.OnsetTime, BendMessage(PitchBend, Now.CentsOffset));
}

void PitchRecWaveIn::EmitDetected(bool bends) {
    if (Now.DetectedNote != Last.DetectedNote)
        EmitChange(Detected, Last.DetectedNote, Now.DetectedNote);
    if (bends && Now.DetectedNote != NoNote)
        Notes->PushNote(Now.OnsetTime, BendMessage(PitchBend | Detected, Now.CentsOffset));
}

void PitchRecWaveIn::EmitChange(std::uint32_t stream, std::int32_t ended, std::int32_t started) {
    if (ended != NoNote)
        Notes->PushNote(Now.OnsetTime, PackMessage(NoteOff | stream, ended, ReleaseVelocity));
    // The velocity is the frame's amplitude in sample units, up to 128.
    if (started != NoNote)
        Notes->PushNote(Now.OnsetTime, PackMessage(NoteOn | stream, started, Now.Amplitude));
}

} // namespace Sonorel
