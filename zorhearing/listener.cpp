// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/listener.h"

#include "hearing/tuning.h"

#include <algorithm>
#include <cmath>

namespace zorhearing {

namespace {

constexpr std::size_t UnreadItems = 1024;
constexpr int SettledSeconds = 60; // after which channels that add will not cancel

} // namespace

Listener::Listener(const SoundFormat& format, Mode mode)
    : Format(format), How(mode), Mixer(format.Channels, format.Floats), Mean(MakeTrack()) {
    if (mode == Mode::Live) {
        Decoder.emplace(hearing::LiveLag);
        LiveNotes.Items.resize(UnreadItems);
        LiveFrames.Items.resize(UnreadItems);
    } else if (format.Channels > 1) {
        Loudest.emplace(MakeTrack());
    }
}

Listener::Track Listener::MakeTrack() const {
    std::unique_ptr<Resampler> resampler;
    if (Format.Rate != AnalysisRate && IsLive())
        resampler = std::make_unique<SincResampler>(Format.Rate);
    else if (Format.Rate != AnalysisRate)
        resampler = MakeResampler(Format.Rate);
    return {BlockStream(std::move(resampler), How != Mode::Plain), {}, {}};
}

void Listener::Track::Write(const Block& block, float peak) {
    Store.Write(block);
    InputPeaks.push_back(peak);
}

void Listener::Track::Feed(std::span<const float> samples) {
    Stream.Feed(samples, [this](const Block& block, float peak) { Write(block, peak); });
}

void Listener::Track::Finish() {
    Stream.Finish([this](const Block& block, float peak) { Write(block, peak); });
}

void Listener::SetTuning(double semitones) {
    TuningSemitones = semitones;
    if (IsLive()) Decoder.emplace(hearing::LiveLag, semitones);
}

void Listener::Feed(const void* samples, std::size_t count) {
    const auto* bytes = static_cast<const std::uint8_t*>(samples);
    while (count > 0) {
        const std::size_t part = std::min(count, ChannelMixer::MaxFrames);
        Mixer.Mix(bytes, part);
        if (IsLive()) {
            Mean.Stream.Feed(Mixer.Mean(),
                             [this](const Block& block, float peak) { AnalyseLive(block, peak); });
        } else {
            Mean.Feed(Mixer.Mean());
        }
        if (Loudest) Loudest->Feed(Mixer.Loudest());
        SampleCount += static_cast<std::int64_t>(part);
        if (SampleCount / Format.Rate >= SettledSeconds && Mixer.Adds()) Loudest.reset();
        bytes += part * Mixer.BytesPerFrame();
        count -= part;
    }
}

hearing::Frame Listener::Analyse(const Block& block, float gain) {
    hearing::Frame frame = Analyser.Analyse(block, gain);
    if (How == Mode::Plain) return frame;
    Periods.Add(block);
    if (frame.Frequency > 0)
        frame.Frequency /= Periods.PeriodsOfRepetition(AnalysisRate / frame.Frequency);
    return frame;
}

void Listener::AnalyseLive(const Block& block, float inputPeak) {
    LivePeak = std::max(LivePeak, PeakOf(block));
    const hearing::Frame frame = Analyse(block, Gain.Update(block));
    LiveFrames.Push({frame, inputPeak});
    Decoder->Feed(frame);
    CollectNotes();
}

void Listener::CollectNotes() {
    const std::vector<hearing::Note>& notes = Decoder->Notes();
    while (NotesGiven < notes.size()) {
        hearing::Note note = notes[NotesGiven];
        const bool isOpen = note.Open;
        if (!NextIsOpen) {
            note.Open = true;
            LiveNotes.Push(note);
        }
        NextIsOpen = isOpen;
        if (isOpen) break;
        LiveNotes.Push(notes[NotesGiven++]);
    }
    if (notes.size() > 1) NotesGiven -= notes.size() - 1;
    Decoder->DropNotes();
}

void Listener::Finish() {
    Finished = true;
    if (IsLive()) {
        Mean.Stream.Finish([this](const Block& block, float peak) { AnalyseLive(block, peak); });
        Decoder->Finish();
        CollectNotes();
        return;
    }
    if (Loudest && Mixer.Cancels()) std::swap(Mean, *Loudest);
    Loudest.reset();
    Mean.Finish();
    AnalyseTake();
}

// The gain rises in soft passages to at most 4 times (12 dB) what the peak of the whole allows.
void Listener::AnalyseTake() {
    Mean.Store.Rewind();
    const float peak = std::max(Peak(), 1e-6f);
    LiveGain follower(peak / 4);
    const float wholeGain = How == Mode::Plain ? 1 : GoodPeak / peak;
    std::vector<hearing::Frame> frames;
    Block block;
    while (Mean.Store.Read(block)) {
        hearing::Frame frame = Analyse(block, How == Mode::Plain ? 1 : follower.Update(block));
        frame.Gain /= wholeGain; // relative to the whole
        TakeFrames.push_back({frame, Mean.InputPeaks[frames.size()]});
        frames.push_back(frame);
    }
    if (!TuningSemitones) TuningSemitones = hearing::TuningOf(frames);
    hearing::Decoder decoder(hearing::FileLag, Tuning());
    for (const hearing::Frame& frame : frames) decoder.Feed(frame);
    decoder.Finish();
    TakeNotes = decoder.Notes();
}

std::optional<hearing::Note> Listener::NextNote() {
    if (IsLive()) return LiveNotes.Pop();
    if (NotesRead == TakeNotes.size()) return {};
    return TakeNotes[NotesRead++];
}

std::optional<HeardFrame> Listener::NextFrame() {
    if (IsLive()) return LiveFrames.Pop();
    if (FramesRead == TakeFrames.size()) return {};
    return TakeFrames[FramesRead++];
}

} // namespace zorhearing
