// The machine's microphones: what each can do, what it hears, and how it can go wrong.
//
// waveIn device n is the nth microphone still plugged in. Thread: any that steers, at any time.
#pragma once

#include "platform/machine/pcm_format.h"
#include "platform/machine/level.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace machine {

// What a microphone is made of.
struct MicrophoneModel {
    std::string Name; // waveIn gives 31 characters of it
    // dwFormats of its capabilities: from 0x001, 11,025 Hz mono of 8 bits, to 0x800, 44,100 Hz
    // stereo of 16; at each rate mono and stereo of 8 bits, then of 16.
    std::uint32_t Formats = 0xFFF;
    unsigned Channels = 2; // more than this are refused
    // Formats beyond those that Formats can tell.
    std::vector<PcmFormat> MoreFormats = {};
    // Refuses a second open. Otherwise all who have it open hear the same.
    bool Exclusive = false;
    // The controls of its mixer, which bears its name; none: it has no mixer.
    std::vector<MixerControl> Mixer = MicrophoneMixer();
};

// A microphone for as long as the machine is on, whatever its device number becomes. The functions
// below do nothing, and give empty results, for a microphone that was never added.
enum class Microphone : int {};

Microphone AddMicrophone(const MicrophoneModel& model);

// One value for each channel of a control (one in all if it has but one); empty if there is none.
std::vector<std::uint32_t> ControlValues(Microphone microphone, const ControlPlace& place);
// The user moves a control: every channel, up to its maximum. False if there is none.
bool MoveControl(Microphone microphone, const ControlPlace& place, std::uint32_t value);

// --- What it hears: nothing (silence) until told. Takes effect at the next origin. ---
//
// The feed has an origin on the machine's clock: the Start of the first capture while nobody else
// is capturing from this microphone. Frame 0 of the feed sounds at the origin; a capture that
// starts later hears the feed from where it then stands. When all have stopped, the next Start
// begins the feed again. So feed time t (seconds) is captured at machine time Origin + t, to within
// half a frame of the capture.

// Fills Samples, interleaved, -1 to 1, with the frames from First on, counted from the origin at
// Rate. Thread: the one that captures. It may depend on its arguments only, since captures ask it
// each for themselves.
struct FeedRequest {
    std::uint64_t First;
    unsigned Rate;
    unsigned Channels;
    std::span<float> Samples;
};
using Generator = std::function<void(const FeedRequest&)>;
void FeedGenerator(Microphone microphone, Generator generator);

// --- How it can go wrong. Calls that fail: faults.h. ---

// Not listed any more, and nothing more is captured. Calls on an open handle fail with
// MMSYSERR_NODRIVER, but for those that unprepare and close.
void Unplug(Microphone microphone);

// The next so many times sound is captured and positions move, but nobody is told of it; whoever
// captures finds all of it at the time after them: waveIn's buffers then come in a row.
void FallBehind(Microphone microphone, unsigned times);

// The unit that waveInGetPosition answers in whatever is asked for, as some drivers do: a TIME_
// value. 0, as at PowerOn: as asked.
void AnswerPositionsIn(unsigned unit);

// --- What came of it. ---

struct CaptureStats {
    std::uint64_t OriginMicroseconds = 0; // of the feed, on the machine's clock
    int Open = 0;
    int Capturing = 0;
};
CaptureStats StatsOf(Microphone microphone);

// What exists now, over all microphones, for finding what was not freed.
int OpenWaveIns();
int PreparedWaveHeaders();
int OpenMixers(); // handles
// Headers queued, prepared or unprepared while their device was being stopped or reset, which some
// systems hang over.
int WaveCallsDuringReset();

} // namespace machine
