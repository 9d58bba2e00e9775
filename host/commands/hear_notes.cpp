// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/commands/hear_notes.h"

#include "host/devices/settings.h"
#include "host/recording/output_file.h"
#include "host/sound/sound_file.h"
#include "host/sound/stereo_sound.h"
#include "host/sound/synthesis.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "midi/status.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace zorhost {

namespace {

constexpr std::uint8_t Flute = 73;
constexpr float NotesGain = 10;       // over the settings' gain, which is meant for many voices
constexpr double RecordingPeak = 0.5; // of full scale, as loud as the notes
constexpr double MaxAmplification = 16;

std::vector<TimedMessage> MessagesOf(const std::vector<MIDIEvent>& records, double tuning,
                                     int rate) {
    const long bend = std::clamp(std::lround(8192 + tuning / 2 * 8192), 0L, 16383L);
    const auto low = static_cast<std::uint8_t>(bend & 127);
    const auto high = static_cast<std::uint8_t>(bend >> 7);
    std::vector<TimedMessage> messages = {{0, {0, 0, 0, 1, midi::ProgramChange, Flute, 0}},
                                          {0, {0, 0, 0, 2, midi::PitchBend, low, high}}};
    for (const MIDIEvent& record : records) {
        messages.push_back({std::int64_t{record.Time} * rate / 1000, record});
        messages.back().Event.Channel = 0;
    }
    return messages;
}

// The synthesizer renders at the recording's rate.
StereoSound PlayBeside(SoundFile& recording, double peak, const std::vector<MIDIEvent>& records,
                       double tuning, machine::Synthesizer& synthesizer) {
    const auto scale =
        static_cast<float>(std::min(MaxAmplification, RecordingPeak / std::max(peak, 1e-6)));
    recording.Prescan();
    StereoSound sound(recording.Rate());
    // Appends the next samples of the recording beside the notes, silence where it has ended.
    // Returns how many there were.
    const auto append = [&](std::span<const float> notes) {
        std::vector<float> left(notes.size() / 2), both(notes.size());
        const std::size_t count = recording.Read(left);
        for (std::size_t i = 0; i < left.size(); ++i) {
            both[2 * i] = scale * left[i];
            both[2 * i + 1] = NotesGain * (notes[2 * i] + notes[2 * i + 1]) / 2;
        }
        sound.Append(both);
        return count;
    };
    Synthesise(synthesizer, MessagesOf(records, tuning, sound.Rate), sound.Rate, append);
    const std::vector<float> silence(2048);
    while (!Interrupted() && append(silence) > 0) continue;
    sound.Finish();
    return sound;
}

// Plays it on the sound server until its end or Ctrl-C. Throws HostError.
void PlayAloud(StereoSound& sound, const machine::SynthesizerSettings& settings) {
    std::string reason;
    const auto read = [&sound](float* frames, std::size_t count) {
        return sound.Read({frames, 2 * count}) / 2;
    };
    if (!machine::PlayStereo(
            settings, sound.Rate, read, [] { return !Interrupted(); }, reason))
        throw HostError(reason);
}

} // namespace

NotePlayback OpenNotePlayback(const GlobalOptions& global, const std::string& path,
                              const std::string& target) {
    if (!target.empty()) CheckSoundName(target);
    const machine::SynthesizerSettings settings = ReadSynthesizerSettings(global.IniFolder);
    const auto recording = std::make_shared<SoundFile>(path);
    const std::shared_ptr synthesizer = OpenSynthesizer(settings, recording->Rate());
    const auto file = target.empty() ? nullptr : std::make_shared<OutputFile>(target);
    return [=](double peak, const std::vector<MIDIEvent>& records, double tuning,
               std::FILE* messages) {
        StereoSound sound = PlayBeside(*recording, peak, records, tuning, *synthesizer);
        if (!file) return PlayAloud(sound, settings);
        if (Interrupted()) throw HostError("stopped; \"" + file->Path() + "\" was not written");
        sound.Write(*file);
        std::fprintf(messages, "Wrote %s: left the recording, right the notes\n",
                     file->Path().c_str());
    };
}

} // namespace zorhost
