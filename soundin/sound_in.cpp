// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "soundin/sound_in.h"

namespace Sonorel {

// The default implementations store and return the members; see sound_in.h.
void SoundIn::SetCallback(SoundInCallback callback, void* context) {
    Callback = callback;
    CallbackContext = context;
}

bool SoundIn::Open(std::uint32_t rate) {
    SetSampleRate(rate);
    SetLevel(Level);
    SetDevice(Device);
    return true;
}

bool SoundIn::Close() {
    Stop();
    return true;
}

bool SoundIn::Start() {
    Running = 1;
    return true;
}

bool SoundIn::Stop() {
    Running = 0;
    return true;
}

std::uint32_t SoundIn::GetSampleRate() { return SampleRate; }

bool SoundIn::SetSampleRate(std::uint32_t rate) {
    SampleRate = rate;
    return true;
}

double SoundIn::GetLevel() { return Level; }

bool SoundIn::SetLevel(double level) {
    Level = level;
    return true;
}

std::uint32_t SoundIn::GetMicThru() { return MicThru; }

bool SoundIn::SetMicThru(std::uint32_t on) {
    MicThru = on;
    return true;
}

std::int32_t SoundIn::GetDevice() { return Device; }

bool SoundIn::SetDevice(std::int32_t device) {
    Device = device;
    return true;
}

std::int32_t SoundIn::GetDeviceNames(TextStringArray&) { return 0; }

} // namespace Sonorel
