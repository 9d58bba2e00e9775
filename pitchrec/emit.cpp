// What changed from the last frame to this one, as note messages.
#include "pitchrec/pitch_rec.h"

#include <algorithm>

namespace Sonorel {

namespace {

// The low nibble keeps the decided notes apart from the frame-by-frame ones.
constexpr std::uint32_t NoteOff = 0x80;
constexpr std::uint32_t NoteOn = 0x90;
constexpr std::uint32_t PitchBend = 0xE0;
constexpr std::uint32_t Detected = 0x01;
constexpr std::int32_t ReleaseVelocity = 0x40;

// One cent is one unit of bend, whatever range the receiver has.
PackedMessage BendMessage(std::uint32_t status, std::int32_t cents) {
    const std::int32_t bend = std::clamp(cents, -8192, 8191) + 8192;
    return PackMessage(status, bend & 0x7F, bend >> 7 & 0x7F);
}

} // namespace

// The order is what a receiver needs: off before on, a bend after its note's start.
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

void PitchRecWaveIn::EmitChange(std::uint32_t stream, std::int32_t from, std::int32_t to) {
    if (from != NoNote)
        Notes->PushNote(Now.OnsetTime, PackMessage(NoteOff | stream, from, ReleaseVelocity));
    // The velocity is the frame's peak, unscaled.
    if (to != NoNote)
        Notes->PushNote(Now.OnsetTime, PackMessage(NoteOn | stream, to, Now.Amplitude));
}

} // namespace Sonorel
