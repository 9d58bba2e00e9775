// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// libfluidsynth: its objects with their owners, and a synthesizer with a SoundFont.
#pragma once

#include "platform/machine/synthesizer.h"

#include <fluidsynth.h>
#include <memory>
#include <string>

namespace device {

template <auto Delete>
struct Deleter {
    template <class T>
    void operator()(T* object) const {
        Delete(object);
    }
};
using SettingsPointer = std::unique_ptr<fluid_settings_t, Deleter<delete_fluid_settings>>;
using SynthPointer = std::unique_ptr<fluid_synth_t, Deleter<delete_fluid_synth>>;
using EventPointer = std::unique_ptr<fluid_midi_event_t, Deleter<delete_fluid_midi_event>>;
using DriverPointer = std::unique_ptr<fluid_audio_driver_t, Deleter<delete_fluid_audio_driver>>;

// Settings of the library for this rate, gain and driver. Null, with the reason, if one of them is
// out of range or unknown. The library prints no log message from now on, for all its users in this
// process.
SettingsPointer MakeSettings(const machine::SynthesizerSettings& wanted, double rate,
                             std::string& reason);

// 16 channels, channel 10 for drums. It has no lock of its own: one thread at a time.
class FluidSynth final : public machine::Synthesizer {
public:
    FluidSynth(SettingsPointer settings, SynthPointer synth, EventPointer event)
        : Settings(std::move(settings)), Synth(std::move(synth)), Event(std::move(event)) {}
    // Loads the font. Null, with the reason, if that fails.
    static std::unique_ptr<FluidSynth> Load(const machine::SynthesizerSettings& wanted, double rate,
                                            std::string& reason);

    void Send(std::uint32_t message) override;
    void Render(float* frames, std::size_t count) override;
    int ActiveVoices() const override;
    // The same into two buffers of one channel each.
    void Render(float* left, float* right, std::size_t count);

private:
    const SettingsPointer Settings; // used by Synth
    const SynthPointer Synth;
    const EventPointer Event; // the message that is being sent
};

} // namespace device
