// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The pitch recogniser: converts sound to notes, which it returns as MIDI messages with time
// stamps.
//
// Order of calls: construct, Open, Enable(true), any number of GetNote and GetSignalLevel,
// Enable(false), destroy. Setters may be called at any time; a change takes effect in the next
// frame.
//
// "Frame" has three meanings. One sample of every channel, the unit of sound formats (SoundIn's
// FramesPerBlock, BytesPerFrame). The analysis of one block from SoundIn, every 23 ms, and its
// results (FrameState; "two frames agree" means two blocks, 46 ms). And the window of samples under
// analysis, which contains the latest block and earlier ones (PitchRecWaveIn::Frame).
//
// "Level" has two meanings. The loudness of the input: peaks in sample units, that is in steps of
// 8-bit sound, where full scale is 128 (32,768 with 16-bit sound). SignalLevel, Amplitude, the
// thresholds and the meter, 0 to 127, use it. And the setting of the recording volume, which has
// four scales:
//
//   mixer control         0    half of its range   full range
//   SoundIn's level      0.0         1.0              2.0
//   mic level here        0          128              256
//   percent in the dialog 0           50              100, for a mic level of 255
#pragma once

#include "pitchrec/frame_state.h"
#include "pitchrec/note_ring.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Sonorel {

class SoundIn;
class TextStringArray;

// The interface, with defaults of a recogniser without input. All functions are called on the
// owner's thread unless their comment states otherwise.
class PitchRec {
public:
    PitchRec() = default;
    PitchRec(const PitchRec&) = delete;
    PitchRec& operator=(const PitchRec&) = delete;
    virtual ~PitchRec() = default;

    // True while sound is delivered. Thread: any. Real time: yes.
    virtual bool IsRunning();
    // Smoothed peak of the input in sample units, for a meter. Thread: any. Real time: yes.
    virtual std::int32_t GetSignalLevel();

    // Pitch of note 69 in Hz.
    virtual void SetReferencePitch(std::int32_t hertz);
    // on: reports steep rises of the level as controller 12. threshold: the least rise, in sample
    // units, above 0.
    virtual void SetAttackDetect(bool on, std::int32_t threshold);
    virtual void Reserved1(std::uint32_t value);
    // Selects the set of thresholds for the peaks of a cycle: 0 or 1. Other values are ignored.
    virtual void SetPeakFactorSet(std::int32_t set);
    // false: the note changes when two frames agree. true: the note follows gliding pitch and
    // changes on a jump.
    virtual void SetTrackingMode(bool sliding);
    // Sends pitch bends, one unit per cent.
    virtual void SetPitchBendOutput(bool on);
    // Sends the notes of single frames too, on MIDI channel 1 (counted from 0).
    virtual void SetRawNoteOutput(bool on);
    virtual void SetReservedFlag(bool on);
    virtual void Reserved2(std::uint32_t value);
    virtual void Reserved3(std::uint32_t value);

    // Opens the capture device. rate: the sample rate requested from it, in Hz. Returns false if
    // the device cannot be opened or memory cannot be allocated.
    virtual bool Open(std::int32_t rate);
    // Starts or stops capture and returns its result.
    virtual bool Enable(bool on);
    // Removes the oldest note message: time in milliseconds on the timeGetTime clock, status, data
    // bytes. Returns false and leaves the outputs unchanged if there is none or another thread is
    // removing one. Thread: any. Real time: yes.
    virtual bool GetNote(std::int32_t* time, std::int32_t* status, std::int32_t* data1,
                         std::int32_t* data2);

    // Recording level, 0 to 256.
    virtual std::int32_t GetMicLevel();
    virtual bool SetMicLevel(std::int32_t level);
    // Nonzero: the microphone is played through the speakers.
    virtual std::uint32_t GetMicThru();
    virtual bool SetMicThru(std::uint32_t on);
    // Index of the capture device.
    virtual std::int32_t GetDevice();
    virtual bool SetDevice(std::int32_t device);
    // Replaces the list by the names of the capture devices and returns their number.
    virtual std::int32_t GetDeviceNames(TextStringArray& names);

    std::int32_t SampleRate = 0;              // Hz, of the analysis
    std::atomic<std::int32_t> SignalLevel{0}; // relaxed: for a meter only
    std::uint8_t Enabled = 0;                 // result of the last Enable
};

// The implementation: works in the time domain on the last 2,048 samples at 22,050 Hz.
//
// Threads. Input's delivery thread runs the whole analysis: it alone writes frames, histories,
// store and SignalLevel and pushes to Notes. It never locks, waits or allocates. Consumers, on any
// thread, pop from Notes. The owner's thread calls the rest, and Open only while nothing is
// delivered. Parameters are relaxed atomics, since no order among them matters.
class PitchRecWaveIn : public PitchRec {
public:
    // Owns input. It may be null, but Open then fails.
    explicit PitchRecWaveIn(SoundIn* input);
    ~PitchRecWaveIn() override;

    bool IsRunning() override;
    void SetReferencePitch(std::int32_t hertz) override;
    void SetAttackDetect(bool on, std::int32_t threshold) override;
    void SetPeakFactorSet(std::int32_t set) override;
    void SetTrackingMode(bool sliding) override;
    void SetPitchBendOutput(bool on) override;
    void SetRawNoteOutput(bool on) override;
    void SetReservedFlag(bool on) override;
    void Reserved3(std::uint32_t value) override;
    bool Open(std::int32_t rate) override;
    bool Enable(bool on) override;
    bool GetNote(std::int32_t* time, std::int32_t* status, std::int32_t* data1,
                 std::int32_t* data2) override;
    std::int32_t GetMicLevel() override;
    bool SetMicLevel(std::int32_t level) override;
    std::uint32_t GetMicThru() override;
    bool SetMicThru(std::uint32_t on) override;
    std::int32_t GetDevice() override;
    bool SetDevice(std::int32_t device) override;
    std::int32_t GetDeviceNames(TextStringArray& names) override;

    // Input's callback for each block. context: the recogniser; time: of the block's end, in
    // milliseconds. Thread: Input's delivery thread. Real time: yes.
    static void ProcessChunk(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount,
                             void* context);

    static constexpr std::size_t HistoryLength = 6;
    using History = std::array<double, HistoryLength>; // newest at index 0; 0.0 where empty

    std::unique_ptr<SoundIn> Input;
    std::unique_ptr<NoteRing> Notes;
    History FreqHistory{};                       // Hz; mode 1 only
    History JumpHistory{};                       // octaves from the previous frequency; mode 1 only
    std::int32_t StoreSize = 0;                  // entries
    std::unique_ptr<std::int16_t[]> SampleStore; // newest sample at the end
    std::int32_t ValidSamples = 0;               // samples at the end since the last silence
    FrameState Now;                              // the latest frame, or the one under analysis
    FrameState Last;                             // the frame before Now

    double JumpThreshold = 0.25;  // octaves, mode 1: a greater change between two frames is a jump
    double SpreadFactor = 0.0015; // mode 1: a jump changes the note if the spread of the last
                                  // frequencies exceeds this fraction of the present one
    std::atomic<double> ReferencePitch{440.0};    // Hz, note 69
    std::atomic<std::int32_t> AttackThreshold{0}; // sample units; 0: no attack detector
    std::int32_t HistoryDepth = 2;                // mode 1: highest history index in use
    std::int32_t MinHoldFrames = 1;     // mode 1: frames before a note may start or change
    std::int32_t NoteOnThreshold = 20;  // sample units: opens the gate, marks the onset
    std::int32_t NoteOffThreshold = 10; // sample units: keeps the gate open
    std::atomic<std::int32_t> TrackingMode{0};
    std::atomic<std::int32_t> PeakFactorSet{0};
    std::atomic<std::uint8_t> PitchBendOutput{0};
    std::atomic<std::uint8_t> RawNoteOutput{0};

private:
    struct Frame;

    void ProcessBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount);
    void ProcessFrame(const Frame& frame);
    void DetectAttacks(const Frame& frame, std::int32_t threshold);
    void MeasureFrame(const Frame& frame);
    std::int32_t FindOnset(const Frame& frame) const;
    void FindPeriod(const Frame& frame);
    void DecideNote();
    void DecideSteady();
    void DecideSliding();
    void SlideHeldNote();
    void StartSlidingNote();
    void CheckRelease();
    void EmitNotes();
    void EmitDetected(bool bends);
    void EmitChange(std::uint32_t stream, std::int32_t ended, std::int32_t started);
    void ClearHistories();

    std::atomic<bool> ReservedFlag{false}; // no effect yet

    static_assert(std::atomic<double>::is_always_lock_free);
};

} // namespace Sonorel
