// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/heard_notes.h"

#include "host/sound/synthesis.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "midi/status.h"

#include <algorithm>
#include <cmath>

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

} // namespace

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
    Synthesise(synthesizer, MessagesOf(records, tuning, sound.Rate), sound.Rate, [&](auto notes) {
        append(notes);
        return !Interrupted();
    });
    const std::vector<float> silence(2048);
    while (!Interrupted() && append(silence) > 0) continue;
    sound.Finish();
    return sound;
}

void PlayAloud(StereoSound& sound, const machine::SynthesizerSettings& settings) {
    std::string reason;
    const auto read = [&sound](float* frames, std::size_t count) {
        return sound.Read({frames, 2 * count}) / 2;
    };
    if (!machine::PlayStereo(
            settings, sound.Rate, read, [] { return !Interrupted(); }, reason))
        throw HostError(reason);
}

} // namespace zorhost
