// The pitch recogniser: takes sound, gives notes as small MIDI-shaped records.
//
// Order of calls: construct, Open, Enable(true), then GetNote and GetSignalLevel as often as
// wanted, Enable(false), destroy. Setters at any time; a change takes effect in the next frame.
//
// Three things are called a frame. One sample of every channel, as sound is counted (SoundIn's
// FramesPerBlock, BytesPerFrame). The handling of one block from SoundIn and what came of it
// (FrameState; "two frames agree" are two blocks, 46 ms). And that block's place in the window of
// samples under analysis (PitchRecWaveIn::Frame), which reaches back over blocks before it.
//
// Level means two things. How loud the input is: peaks in sample units, that is in steps of 8-bit
// sound, of which a full-scale input has 128 (32,768 from 16-bit sound); SignalLevel, Amplitude,
// the thresholds, and the meter, which shows 0 to 127. And how the recording volume is set, on
// three scales:
//
//   the mixer's control   0    half of its range   all of it
//   SoundIn's level      0.0         1.0              2.0
//   mic level here        0          128              256
//   the dialog's percent  0           50              100, for a mic level of 255
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

// The interface, with defaults of a recogniser that hears nothing. Unless said otherwise an
// operation runs on the owner's thread.
class PitchRec {
public:
    PitchRec() = default;
    PitchRec(const PitchRec&) = delete;
    PitchRec& operator=(const PitchRec&) = delete;
    virtual ~PitchRec() = default;

    // Is sound coming in. Thread: any. Real time: yes.
    virtual bool IsRunning();
    // Smoothed peak of the input, for a meter. Thread: any. Real time: yes.
    virtual std::int32_t GetSignalLevel();

    // Pitch of note 69 in Hz.
    virtual void SetReferencePitch(std::int32_t hertz);
    // on: reports steep rises of the level by controller 12. threshold in sample units, above 0.
    virtual void SetAttackDetect(bool on, std::int32_t threshold);
    virtual void Reserved1(std::uint32_t value);
    // Which peaks count as strong: 0 or 1. Any other value is ignored.
    virtual void SetPeakFactorSet(std::int32_t set);
    // false: a note changes when two frames agree. true: a held note slides, and changes on a jump.
    virtual void SetTrackingMode(bool sliding);
    // Pitch bends, one unit a cent.
    virtual void SetPitchBendOutput(bool on);
    // The frame-by-frame notes too, on the second status channel.
    virtual void SetRawNoteOutput(bool on);
    virtual void SetReservedFlag(bool on);
    virtual void Reserved2(std::uint32_t value);
    virtual void Reserved3(std::uint32_t value);

    // rate: what the capture device is asked for, in Hz. False: the device cannot be opened, or
    // memory is short.
    virtual bool Open(std::int32_t rate);
    // Starts or stops listening; gives what the capture gave.
    virtual bool Enable(bool on);
    // Takes the oldest note message: milliseconds on the timeGetTime clock, status, data bytes.
    // False, with the outputs untouched, if there is none just now. Thread: any. Real time: yes.
    virtual bool GetNote(std::int32_t* time, std::int32_t* status, std::int32_t* data1,
                         std::int32_t* data2);

    // Recording level, 128 at half.
    virtual std::int32_t GetMicLevel();
    virtual bool SetMicLevel(std::int32_t level);
    // Nonzero: the microphone is heard through the speakers.
    virtual std::uint32_t GetMicThru();
    virtual bool SetMicThru(std::uint32_t on);
    // Index of the capture device.
    virtual std::int32_t GetDevice();
    virtual bool SetDevice(std::int32_t device);
    // Empties the list, fills it with the capture devices' names and gives their number.
    virtual std::int32_t GetDeviceNames(TextStringArray& names);

    std::int32_t SampleRate = 0;              // Hz, of the analysis
    std::atomic<std::int32_t> SignalLevel{0}; // relaxed: a meter's number
    std::uint8_t Enabled = 0;                 // result of the last Enable
};

// The one implementation: works in the time domain on the last 2,048 samples at 22,050 Hz.
//
// Three threads meet. The delivering thread of Input runs the whole analysis and alone writes the
// frames, the histories, the store and SignalLevel, and produces Notes; it never locks, waits or
// allocates. Consumers take from Notes. The owner's thread does the rest; Open comes only while
// nothing is delivered. Parameters are relaxed atomics: single values with no order among them.
class PitchRecWaveIn : public PitchRec {
public:
    // Takes ownership of input, which may be null only in a recogniser that is never opened.
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

    // What Input calls with each block; context is the recogniser. Thread: the delivering one.
    static void ProcessChunk(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount,
                             void* context);

    static constexpr std::size_t HistoryLength = 6;
    using History = std::array<double, HistoryLength>; // newest at index 0, 0.0 for empty

    std::unique_ptr<SoundIn> Input;
    std::unique_ptr<NoteRing> Notes;
    History FreqHistory{};      // Hz. Mode 1 only, as the next one
    History JumpHistory{};      // octaves between a frequency and the one before it
    std::int32_t StoreSize = 0; // entries
    std::unique_ptr<std::int16_t[]> SampleStore; // newest sample at the end
    std::int32_t ValidSamples = 0;               // entries at the end that belong to this sound
    FrameState Now;                              // the frame under analysis, then the latest one
    FrameState Last;                             // the one before

    double JumpThreshold = 0.25;  // octaves, mode 1: what counts as a jump between two frames
    double SpreadFactor = 0.0015; // of the present frequency, mode 1: least spread of a change
    std::atomic<double> ReferencePitch{440.0};    // Hz of note 69
    std::atomic<std::int32_t> AttackThreshold{0}; // sample units; above 0: attack detector on
    std::int32_t HistoryDepth = 2;                // mode 1: highest history index looked at
    std::int32_t MinHoldFrames = 1;               // mode 1: frames before a start or change
    std::int32_t NoteOnThreshold = 20;            // sample units: opens the gate, marks the onset
    std::int32_t NoteOffThreshold = 10;           // sample units: keeps the gate open
    std::atomic<std::int32_t> TrackingMode{0};
    std::atomic<std::int32_t> PeakFactorSet{0};
    std::atomic<std::uint8_t> PitchBendOutput{0};
    std::atomic<std::uint8_t> RawNoteOutput{0};

private:
    struct Frame; // one block's place in the window

    void TakeBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount);
    void ProcessFrame(const Frame& frame);
    void DetectAttacks(const Frame& frame, std::int32_t threshold);
    void MeasureFrame(const Frame& frame);
    std::int32_t FirstLoud(const Frame& frame) const;
    void FindPeriod(const Frame& frame);
    void DecideNote();
    void DecideSteady();
    void DecideSliding();
    void SlideHeldNote();
    void StartSlidingNote();
    void CheckRelease();
    void EmitNotes();
    void EmitDetected(bool bends);
    void EmitChange(std::uint32_t stream, std::int32_t from, std::int32_t to);
    void ClearHistories();

    std::atomic<bool> ReservedFlag{false}; // kept for a later use

    static_assert(std::atomic<double>::is_always_lock_free);
};

} // namespace Sonorel
