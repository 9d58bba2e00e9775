// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fluidsynth/client.h"

#include "midi/status.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace device {
namespace {

using machine::SynthesizerSettings;

constexpr int PulseAudioFrames = 256; // 5.3 ms at 48 kHz

// Where systems keep their default SoundFont, beside the place that the library was built for.
constexpr const char* DefaultFonts[] = {
    "/usr/share/sounds/sf2/default-GM.sf2",    "/usr/share/sounds/sf3/default-GM.sf3",
    "/usr/share/soundfonts/default.sf2",       "/usr/share/soundfonts/FluidR3_GM.sf2",
    "/usr/share/sounds/sf2/FluidR3_GM.sf2",    "/usr/share/sounds/sf2/TimGM6mb.sf2",
    "/usr/local/share/sounds/sf2/default.sf2",
};

std::string FindDefaultFont(fluid_settings_t* settings) {
    std::error_code ignored;
    char* built = nullptr;
    fluid_settings_getstr_default(settings, "synth.default-soundfont", &built);
    if (built && std::filesystem::exists(built, ignored)) return built;
    for (const char* const path : DefaultFonts)
        if (std::filesystem::exists(path, ignored)) return path;
    return "";
}

std::uint32_t ReadSize(const char* bytes) {
    std::uint32_t size = 0;
    for (int i = 3; i >= 0; --i) size = size << 8 | static_cast<unsigned char>(bytes[i]);
    return size;
}

// Why the file is no whole SoundFont, to stand behind its name; empty if it is one. The library is
// given no other file, since a loader below it prints about those.
std::string FontProblem(const std::string& path) {
    std::error_code failed;
    if (std::filesystem::is_directory(path, failed)) return "cannot be read: it is a folder.";
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::string("cannot be read: ") + std::strerror(errno) + ".";
    const std::uintmax_t size = std::filesystem::file_size(path, failed);
    char riff[12] = "";
    if (failed || !file.read(riff, sizeof riff) || std::memcmp(riff, "RIFF", 4) != 0 ||
        std::memcmp(riff + 8, "sfbk", 4) != 0)
        return "is no SoundFont (.sf2 or .sf3).";
    // Lists of information, samples and presets.
    int lists = 0;
    for (std::uintmax_t place = sizeof riff; place < 8ull + ReadSize(riff + 4); ++lists) {
        char list[8] = "";
        const bool isList = file.seekg(static_cast<std::streamoff>(place)) &&
                            file.read(list, sizeof list) && std::memcmp(list, "LIST", 4) == 0;
        place += sizeof list + ReadSize(list + 4);
        if (!isList || place > size) return "is incomplete or damaged: install it anew.";
    }
    return lists == 3 ? "" : "is incomplete or damaged: install it anew.";
}

std::nullptr_t Fail(std::string& reason, std::string sentence) {
    reason = std::move(sentence);
    return nullptr;
}

} // namespace

SettingsPointer MakeSettings(const SynthesizerSettings& wanted, double rate, std::string& reason) {
    for (const int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG})
        fluid_set_log_function(level, nullptr, nullptr);
    if (!(wanted.Gain >= SynthesizerSettings::MinGain &&
          wanted.Gain <= SynthesizerSettings::MaxGain))
        return Fail(reason, "The synthesizer's gain must be a number from 0.01 to 10 "
                            "([SYNTHESIZER] Gain=).");
    if (!(rate >= machine::MinSynthesizerRate && rate <= machine::MaxSynthesizerRate))
        return Fail(reason, "The synthesizer's rate must be from 8000 to 96000 frames per second.");
    SettingsPointer settings(new_fluid_settings());
    if (!settings) return Fail(reason, "Out of memory.");
    fluid_settings_setnum(settings.get(), "synth.gain", wanted.Gain);
    fluid_settings_setnum(settings.get(), "synth.sample-rate", rate);
    fluid_settings_setint(settings.get(), "synth.threadsafe-api", 0);
    fluid_settings_setint(settings.get(), "synth.lock-memory", 0);
    const std::string driver = wanted.Driver.empty() ? "pulseaudio" : wanted.Driver;
    // The library's own 64 frames leave holes in the sound as soon as the computer is busy. Other
    // drivers have several periods in their buffer.
    if (driver == "pulseaudio")
        fluid_settings_setint(settings.get(), "audio.period-size", PulseAudioFrames);
    char* const options = fluid_settings_option_concat(settings.get(), "audio.driver", ", ");
    const std::string known = options ? options : "";
    fluid_free(options);
    if ((", " + known + ",").find(", " + driver + ",") == std::string::npos)
        return Fail(reason, "The sound driver \"" + driver +
                                "\" is unknown: [SYNTHESIZER] Driver= is one of " + known + ".");
    fluid_settings_setstr(settings.get(), "audio.driver", driver.c_str());
    return settings;
}

std::unique_ptr<FluidSynth> FluidSynth::Load(const SynthesizerSettings& wanted, double rate,
                                             std::string& reason) {
    SettingsPointer settings = MakeSettings(wanted, rate, reason);
    if (!settings) return nullptr;
    const std::string font = wanted.Font.empty() ? FindDefaultFont(settings.get()) : wanted.Font;
    if (font.empty())
        return Fail(reason, "No SoundFont found: install one, for instance the package "
                            "timgm6mb-soundfont, or name one in the settings ([SYNTHESIZER] "
                            "Font=).");
    const std::string problem = FontProblem(font);
    if (!problem.empty()) return Fail(reason, "The SoundFont \"" + font + "\" " + problem);
    SynthPointer synth(new_fluid_synth(settings.get()));
    EventPointer event(new_fluid_midi_event());
    if (!synth || !event) return Fail(reason, "Out of memory.");
    if (fluid_synth_sfload(synth.get(), font.c_str(), 1) == FLUID_FAILED)
        return Fail(reason, "The SoundFont \"" + font + "\" is damaged: install it anew.");
    return std::make_unique<FluidSynth>(std::move(settings), std::move(synth), std::move(event));
}

void FluidSynth::Send(std::uint32_t message) {
    const auto status = static_cast<std::uint8_t>(message);
    const int first = static_cast<int>(message >> 8 & 0x7F);
    const int second = static_cast<int>(message >> 16 & 0x7F);
    // Of the system messages only a reset has an effect.
    const int type = midi::IsChannelStatus(status) ? midi::MessageType(status) : status;
    fluid_midi_event_set_type(Event.get(), type);
    fluid_midi_event_set_channel(Event.get(), midi::ChannelOf(status));
    fluid_midi_event_set_key(Event.get(), first);
    fluid_midi_event_set_value(Event.get(), second);
    if (type == midi::PitchBend) fluid_midi_event_set_pitch(Event.get(), second << 7 | first);
    fluid_synth_handle_midi_event(Synth.get(), Event.get());
}

void FluidSynth::Render(float* frames, std::size_t count) {
    fluid_synth_write_float(Synth.get(), static_cast<int>(count), frames, 0, 2, frames, 1, 2);
}

void FluidSynth::Render(float* left, float* right, std::size_t count) {
    fluid_synth_write_float(Synth.get(), static_cast<int>(count), left, 0, 1, right, 0, 1);
}

int FluidSynth::ActiveVoices() const { return fluid_synth_get_active_voice_count(Synth.get()); }

} // namespace device
