// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The software synthesizer: a MIDI output that is heard on this computer's sound server, and the
// same synthesizer rendering on request. Both need the back end "fluidsynth" and a SoundFont.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace machine {

// The name of its output, which is the last one in the list of a machine with native devices.
inline constexpr char SynthesizerName[] = "Software Synthesizer";

struct SynthesizerSettings {
    std::string Font;   // path of a SoundFont, .sf2 or .sf3; empty for the system's default one
    std::string Driver; // "pulseaudio", "alsa", "jack" ...; empty for "pulseaudio", which PipeWire
                        // serves too. Not used for rendering on request
    double Gain = DefaultGain; // factor of the sum of all voices, MinGain to MaxGain

    bool operator==(const SynthesizerSettings&) const = default;
    static constexpr double DefaultGain = 0.2, MinGain = 0.01, MaxGain = 10;
};

// The keys Font, Driver and Gain in the section [SYNTHESIZER] of the ZORMIDI.INI beside
// ModulePath(), which the output uses when it is opened. A Gain that is no number is returned as 0,
// which every opening refuses. Thread: any.
SynthesizerSettings ReadSynthesizerSettings();

// Whether the list of MIDI outputs ends in the synthesizer. Thread: any.
bool HasSynthesizer();

// The reason why this machine has no such output, or why the last opening failed, as a sentence;
// empty if neither applies. Thread: any.
std::string SynthesizerProblem();

// The number of the output that MIDI_MAPPER opens: the synthesizer if it can be opened, which is
// tried, else the first output. -1 if the default output is silent. Thread: the steering one. Waits
// for the sound server, two seconds at most, and while a SoundFont is loaded.
int FindDefaultMidiOutput();

// Renders MIDI messages to sound, in the caller's time. The same messages at the same frames give
// the same samples. Thread: one at a time. Real time: yes.
class Synthesizer {
public:
    virtual ~Synthesizer() = default;
    // Applies a short message, status in the lowest byte, from the next block of 64 rendered frames
    // on: 1.5 ms later at most, at 44,100 Hz.
    virtual void Send(std::uint32_t message) = 0;
    // Renders count frames of two samples, left and right. Full scale is 1; louder samples are not
    // limited.
    virtual void Render(float* frames, std::size_t count) = 0;
    // Voices that sound, those in their release included. The reverberation may last longer.
    virtual int ActiveVoices() const = 0;
};

// rate: frames per second, MinSynthesizerRate to MaxSynthesizerRate. Null, with the reason in a
// sentence, if the back end or the font cannot be loaded. Thread: any. Loads the whole font: 30 ms
// to 2 s.
constexpr double MinSynthesizerRate = 8000, MaxSynthesizerRate = 96000;
std::unique_ptr<Synthesizer> OpenSynthesizer(const SynthesizerSettings& settings, double rate,
                                             std::string& reason);

// Fills count frames of two samples, left and right, and returns their number, which is less only
// at the end.
using StereoSource = std::function<std::size_t(float* frames, std::size_t count)>;
// Plays sound on the driver of the settings; their font is not used. Returns when all has been
// played, or goOn has returned false; it is called every 20 ms. False, with the reason in a
// sentence, if no driver can be opened in two seconds. rate: as for OpenSynthesizer. Thread: any;
// source runs on another one.
bool PlayStereo(const SynthesizerSettings& settings, double rate, const StereoSource& source,
                const std::function<bool()>& goOn, std::string& reason);

} // namespace machine
