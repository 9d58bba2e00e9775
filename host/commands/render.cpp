// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost render
#include "host/cli/commands.h"
#include "host/commands/edited_song.h"
#include "host/devices/settings.h"
#include "host/playback/player.h"
#include "host/sound/stereo_sound.h"
#include "host/sound/synthesis.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/progress.h"
#include "midi/status.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

constexpr std::int64_t MaxSeconds =
    std::int64_t{6} * 60 * 60; // a WAV file holds 6.7 hours at 44,100 Hz

// Damper and sostenuto up, which hold released keys, then all notes off.
constexpr std::array<std::uint8_t, 3> Releases = {64, 66, 123};

struct RenderOptions {
    EditedSong Song;
    int LastBar = 0; // 0 for the end of the song
    std::string SoundFile;
    std::string Font;
    double Gain = 0; // 0 for that of the settings
    int Rate = 44100;
};

PlayRange RangeOf(const RenderOptions& options, const midifile::Song& song) {
    PlayRange range = RangeOf(options.Song, song);
    if (options.LastBar == 0) return range;
    if (options.LastBar < options.Song.FirstBar)
        throw HostError("--to: the bar is before that of --from", ExitWrongUse);
    TickOfBar(song, options.LastBar, "--to");
    range.End = song.Map.TickOfBar(std::int64_t{options.LastBar} + 1);
    return range;
}

// The song's messages at their frames. All keys and pedals are released at its end.
std::vector<TimedMessage> MessagesOf(const midifile::Song& song, const PlayRange& range, int rate) {
    const Passage passage = MakePassage(song, range.Begin, range.End);
    const std::int64_t begin = song.Map.MicrosecondsAt(range.Begin);
    const auto frameAt = [&](std::int64_t tick) {
        const auto written = static_cast<double>(song.Map.MicrosecondsAt(tick) - begin);
        return std::llround(written * 1e-4 * rate / range.TempoPercent);
    };
    const std::int64_t end = frameAt(std::min(range.End, song.EndTick));
    if (end > MaxSeconds * rate)
        throw HostError("the song is longer than 6 hours; use --from, --to");
    std::vector<TimedMessage> messages;
    for (std::size_t i = 0; i < passage.Records.size(); ++i)
        messages.push_back({frameAt(passage.Ticks[i]), passage.Records[i]});
    for (std::int16_t channel = 0; channel < 16; ++channel)
        for (const std::uint8_t controller : Releases)
            messages.push_back({end, {0, 0, channel, 2, midi::ControlChange, controller, 0}});
    return messages;
}

std::int64_t MillisecondsOf(std::int64_t frames, int rate) { return frames * 1000 / rate; }

void PrintRendered(const RenderOptions& options, const StereoSound& sound,
                   std::chrono::duration<double> work) {
    const auto milliseconds = MillisecondsOf(sound.FrameCount(), options.Rate);
    std::printf("Wrote %s: %s of sound, rendered %.0f times as fast as it sounds\n",
                options.SoundFile.c_str(), ClockText(milliseconds).c_str(),
                static_cast<double>(milliseconds) / 1000 / std::max(work.count(), 1e-6));
    if (sound.Scale() < 1)
        std::printf("The level was lowered by %.1f dB, so that nothing is clipped\n",
                    -20 * std::log10(sound.Scale()));
}

void Run(const GlobalOptions& global, const RenderOptions& options) {
    CheckSoundName(options.SoundFile);
    const OutputFile file(options.SoundFile);
    const midifile::Song song = ReadEditedSong(options.Song);
    const auto messages = MessagesOf(song, RangeOf(options, song), options.Rate);
    machine::SynthesizerSettings settings = ReadSynthesizerSettings(global.IniFolder);
    if (!options.Font.empty()) settings.Font = options.Font;
    if (options.Gain > 0) settings.Gain = options.Gain;
    const auto synthesizer = OpenSynthesizer(settings, options.Rate);
    const auto begin = std::chrono::steady_clock::now();
    StereoSound sound(options.Rate);
    Progress progress;
    const std::int64_t end = messages.back().Frame;
    Synthesise(*synthesizer, messages, options.Rate, [&](std::span<const float> frames) {
        sound.Append(frames);
        if (progress.Due()) {
            const std::int64_t done = std::min(sound.FrameCount(), end);
            progress.Show(Bar(done, end, 40) + " " + ClockText(MillisecondsOf(done, options.Rate)) +
                          " of " + ClockText(MillisecondsOf(end, options.Rate)));
        }
    });
    progress.End();
    if (Interrupted()) throw HostError("stopped; nothing was written");
    sound.Finish();
    sound.Write(file);
    PrintRendered(options, sound, std::chrono::steady_clock::now() - begin);
}

} // namespace

void AddRender(const Command& app, const GlobalOptions& global) {
    const Command command =
        app.AddCommand("render", "Write a MIDI file as sound, by the software synthesizer");
    const auto options = std::make_shared<RenderOptions>();
    AddSongOptions(command, options->Song.File);
    command.Value("-o,--out", options->SoundFile, "Sound file to write: .wav, .flac or .ogg")
        .Required()
        .ValueName("OUT");
    AddChanges(command, options->Song);
    command.Value("--to", options->LastBar, "Stop after this bar. Default: the end of the song")
        .HiddenRange(1, 1000000)
        .ValueName("BAR");
    command
        .Value("--font", options->Font,
               "SoundFont, .sf2 or .sf3. Default: that of the settings, else the system's")
        .ValueName("FILE");
    command
        .Value("--gain", options->Gain,
               "Factor of the sum of all voices. Default: that of the settings, else 0.2")
        .Range(machine::SynthesizerSettings::MinGain, machine::SynthesizerSettings::MaxGain)
        .ValueName("N");
    command.Value("--rate", options->Rate, "Frames per second")
        .Range(static_cast<int>(machine::MinSynthesizerRate),
               static_cast<int>(machine::MaxSynthesizerRate))
        .ValueName("HZ")
        .ShowDefault();
    command.Footer("Examples: zorhost render song.mid -o song.flac\n"
                   "          zorhost render song.mid -o part.ogg --from 5 --to 8 --mute 10");
    command.OnRun([&global, options] { Run(global, *options); });
}

} // namespace zorhost
