// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "soundin/sound_in_system.h"

#include "soundin/mixer.h"

namespace Sonorel {

namespace {

constexpr std::uint32_t MicThruOn = 7;

} // namespace

// The control's value relative to half of its range; 0 without a volume control.
double SoundInSystem::GetLevel() {
    const DWORD value = GetControlUnsigned(Mixer, MicLine, MicVolume);
    const DWORD half = MicVolume.Bounds.dwMaximum / 2;
    return half == 0 ? 0.0 : static_cast<double>(value) / half;
}

// If no volume control was found, its id of 0 may be that of another control.
bool SoundInSystem::SetLevel(double level) {
    if (MicVolume.dwControlType != MIXERCONTROL_CONTROLTYPE_VOLUME) return false;
    const DWORD half = MicVolume.Bounds.dwMaximum / 2;
    const double value = half * level;
    return SetControlUnsigned(Mixer, MicLine, MicVolume,
                              static_cast<DWORD>(static_cast<std::int64_t>(value)));
}

std::uint32_t SoundInSystem::GetMicThru() {
    // A mixer without a mute control: counts as not through.
    if (Mixer && MicMute.dwControlType != MIXERCONTROL_CONTROLTYPE_MUTE) return 0;
    return GetControlBoolean(Mixer, SpeakerLine, MicMute) == 0 ? MicThruOn : 0;
}

// The mute control is off while the speakers play the microphone.
bool SoundInSystem::SetMicThru(std::uint32_t on) {
    if (MicMute.dwControlType != MIXERCONTROL_CONTROLTYPE_MUTE) return false;
    return SetControlBoolean(Mixer, SpeakerLine, MicMute, on ? 0 : 1);
}

// Returns false if the new device cannot be opened; the object is then closed.
bool SoundInSystem::SetDevice(std::int32_t device) {
    if (!IsOpen() || device == Device) return SoundIn::SetDevice(device);
    const bool wasRunning = Running != 0;
    Stop();
    Close();
    SoundIn::SetDevice(device);
    ResetDevice();
    const bool opened = Open(Format.nSamplesPerSec);
    if (wasRunning && opened) Start();
    return opened;
}

void SoundInSystem::SetFormat(std::uint32_t rate) {
    Format = {};
    Format.wFormatTag = WAVE_FORMAT_PCM;
    Format.nChannels = static_cast<WORD>(Channels);
    Format.wBitsPerSample = static_cast<WORD>(BitsPerSample);
    Format.nBlockAlign = static_cast<WORD>(Channels * BitsPerSample / 8);
    Format.nSamplesPerSec = rate;
    Format.nAvgBytesPerSec = Format.nBlockAlign * rate;
    BytesPerFrame = Format.nBlockAlign;
    // 23.2 ms at any rate.
    FramesPerBlock = static_cast<std::int32_t>(rate * 512 / 22050);
    BytesPerBlock = FramesPerBlock * BytesPerFrame;
}

void SoundInSystem::ResetMixer() {
    CloseMixer();
    MicLine = SpeakerLine = {};
    MicVolume = MicMute = {};
}

void SoundInSystem::OpenMicLines() {
    if (GetMixerLine(Mixer, MIXERLINE_COMPONENTTYPE_DST_WAVEIN,
                     MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE, MicLine) == MMSYSERR_NOERROR)
        GetMixerControl(Mixer, MicLine.dwLineID, MIXERCONTROL_CONTROLTYPE_VOLUME, MicVolume);
    if (GetMixerLine(Mixer, MIXERLINE_COMPONENTTYPE_DST_SPEAKERS,
                     MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE, SpeakerLine) == MMSYSERR_NOERROR)
        GetMixerControl(Mixer, SpeakerLine.dwLineID, MIXERCONTROL_CONTROLTYPE_MUTE, MicMute);
}

void SoundInSystem::CloseMixer() {
    if (Mixer) mixerClose(Mixer);
    Mixer = nullptr;
}

bool SoundInSystem::OpenMixer(UINT id, DWORD flags) {
    if (mixerOpen(&Mixer, id, 0, 0, flags) == MMSYSERR_NOERROR) return true;
    Mixer = nullptr;
    return false;
}

} // namespace Sonorel
