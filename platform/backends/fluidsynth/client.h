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
// Deleting a driver waits for its thread, which may wait for the sound server.
using DriverPointer = std::unique_ptr<fluid_audio_driver_t, Deleter<delete_fluid_audio_driver>>;

// libfluidsynth prints no log message from now on, for all its users in this process.
void SilenceLog();

// Settings of the library for this rate, gain and driver. Null, with the reason, if one of them is
// out of range or unknown.
SettingsPointer MakeSettings(const machine::SynthesizerSettings& wanted, double rate,
                             std::string& reason);

// Starts the driver of the settings, which calls render on a thread of its own until it is deleted.
// Null if it finds nothing to play on. May wait for the sound server.
DriverPointer OpenDriver(fluid_settings_t* settings, fluid_audio_func_t render, void* data);

// Why the driver of the settings cannot be opened, as a sentence. hangs: it was waited for.
std::string DriverProblem(const machine::SynthesizerSettings& wanted, bool hangs);

// As machine::PlayStereo.
bool PlayStereo(const machine::SynthesizerSettings& settings, double rate,
                const machine::StereoSource& source, const std::function<bool()>& goOn,
                std::string& reason);

// 16 channels, channel 10 for drums. It has no lock of its own: one thread at a time.
class FluidSynth final : public machine::Synthesizer {
public:
    // Loads the font. Null, with the reason, if that fails.
    static std::unique_ptr<FluidSynth> Load(const machine::SynthesizerSettings& wanted, double rate,
                                            std::string& reason);

    void Send(std::uint32_t message) override;
    void Render(float* frames, std::size_t count) override;
    int ActiveVoices() const override;
    // The same into two buffers of one channel each.
    void Render(float* left, float* right, std::size_t count);

private:
    FluidSynth(SettingsPointer settings, SynthPointer synth, EventPointer event)
        : Settings(std::move(settings)), Synth(std::move(synth)), Event(std::move(event)) {}

    const SettingsPointer Settings; // used by Synth
    const SynthPointer Synth;
    const EventPointer Event; // the message that is being sent
};

} // namespace device
