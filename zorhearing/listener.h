// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// From samples to notes, live or of a whole recording.
#pragma once

#include "hearing/decoder.h"
#include "zorhearing/channels.h"
#include "zorhearing/frame_analyser.h"
#include "zorhearing/period_check.h"
#include "zorhearing/resampler.h"
#include "zorhearing/sample_store.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace zorhearing {

struct SoundFormat {
    int Rate = AnalysisRate;  // Hz, 8,000 to 192,000
    std::size_t Channels = 1; // interleaved
    bool Floats = true;       // 32-bit, -1 to 1; else 16-bit integers
};

// How the samples are analysed.
enum class Mode {
    Take,  // as a whole: amplified by the peak of the recording, its soft passages by up to 12 dB
           // more
    Live,  // each note at once: amplified by the peak of the last seconds
    Plain, // as a whole, neither filtered nor amplified, as the library's own recogniser
};

struct HeardFrame {
    hearing::Frame Frame;
    float InputPeak = 0; // greatest absolute sample before the filter, 1 is full scale
};

// Cuts samples at any rate into frames of the analysis.
class BlockStream {
public:
    // resampler: null if the samples have the analysis rate.
    BlockStream(std::unique_ptr<Resampler> resampler, bool filters)
        : Converter(std::move(resampler)), Filters(filters) {}

    // Calls onBlock(Block&, float peak) for each complete block. peak: of the block before the
    // filter. samples: at most Resampler::MaxSamples.
    template <class OnBlock>
    void Feed(std::span<const float> samples, OnBlock onBlock) {
        for (const float sample : Converter ? Converter->Feed(samples) : samples)
            Add(sample, onBlock);
    }
    // The same for what is left, filled up with silence.
    template <class OnBlock>
    void Finish(OnBlock onBlock) {
        if (Converter)
            for (const float sample : Converter->Finish()) Add(sample, onBlock);
        while (Count > 0) Add(0, onBlock);
    }

private:
    template <class OnBlock>
    void Add(float sample, OnBlock& onBlock) {
        Samples[Count++] = sample;
        if (Count < Samples.size()) return;
        Count = 0;
        const float peak = PeakOf(Samples);
        if (Filters) Filter.Apply(Samples);
        onBlock(Samples, peak);
    }

    std::unique_ptr<Resampler> Converter;
    bool Filters;
    ToneFilter Filter;
    Block Samples{};
    std::size_t Count = 0;
};

// For one thread at a time. Live, Feed, NextNote and NextFrame are real-time safe.
class Listener {
public:
    // Throws std::bad_alloc.
    Listener(const SoundFormat& format, Mode mode);

    // How much sharper than 440 Hz A4 is, in semitones, -0.5 to 0.5. Before the first sample. A
    // take finds it itself if it is not set.
    void SetTuning(double semitones);
    double Tuning() const { return TuningSemitones.value_or(0); }

    // Adds count samples per channel. Throws std::bad_alloc, not if live.
    void Feed(const void* samples, std::size_t count);
    // Live: advances the time by a number of frames without sound.
    void Skip(std::int64_t frames) { Analyser.Skip(frames); }
    // Analyses a take, and ends an open note. Feed no more afterwards. Throws std::bad_alloc.
    void Finish();
    bool IsFinished() const { return Finished; }
    bool HasSamples() const { return SampleCount > 0; }
    bool IsLive() const { return How == Mode::Live; }

    // The next note; none if there is none now. Live, a note is given twice: open when it begins,
    // and when it has ended, and the last 1,024 unread ones are kept.
    std::optional<hearing::Note> NextNote();
    // The next frame. Live, the last 1,024 unread ones are kept.
    std::optional<HeardFrame> NextFrame();

    // Greatest absolute sample after the filter; 1 is full scale.
    float Peak() const { return IsLive() ? LivePeak : Mean.Store.Peak(); }
    // Level from which the search for a pitch starts, and level down to which it continues.
    int OnLevel() const { return Analyser.OnLevel(); }
    int OffLevel() const { return Analyser.OffLevel(); }

private:
    // A mono stream, and its blocks between the two passes of a take.
    struct Track {
        BlockStream Stream;
        SampleStore Store;
        std::vector<float> InputPeaks; // of its blocks, before the filter
        void Feed(std::span<const float> samples);
        void Finish();
        void Write(const Block& block, float peak);
    };
    // A ring of the last items; Push overwrites the oldest one.
    template <class Item>
    struct Ring {
        std::vector<Item> Items;
        std::size_t Begin = 0;
        std::size_t Count = 0;
        void Push(const Item& item) {
            if (Count == Items.size()) Pop();
            Items[(Begin + Count++) % Items.size()] = item;
        }
        std::optional<Item> Pop() {
            if (Count == 0) return {};
            const Item& item = Items[Begin];
            Begin = (Begin + 1) % Items.size();
            --Count;
            return item;
        }
    };

    Track MakeTrack() const;
    hearing::Frame Analyse(const Block& block, float gain);
    void AnalyseLive(const Block& block, float inputPeak);
    void CollectNotes();
    void AnalyseTake();

    SoundFormat Format;
    Mode How;
    ChannelMixer Mixer;
    Track Mean;
    std::optional<Track> Loudest; // of a take with several channels, while they may cancel
    FrameAnalyser Analyser;
    PeriodCheck Periods;
    LiveGain Gain{LeastLivePeak};
    std::optional<hearing::Decoder> Decoder; // live
    std::optional<double> TuningSemitones;
    std::int64_t SampleCount = 0;
    bool Finished = false;

    float LivePeak = 0;
    Ring<hearing::Note> LiveNotes;
    Ring<HeardFrame> LiveFrames;
    std::size_t NotesGiven = 0; // of the decoder's, with their end
    bool NextIsOpen = false;    // the one after them was given when it began

    std::vector<hearing::Note> TakeNotes;
    std::vector<HeardFrame> TakeFrames;
    std::size_t NotesRead = 0;  // of TakeNotes
    std::size_t FramesRead = 0; // of TakeFrames
};

} // namespace zorhearing
