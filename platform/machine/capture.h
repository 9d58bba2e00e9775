// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The machine's microphones: their capabilities, the sound that they capture, and their faults.
//
// waveIn device n is the nth microphone that is plugged in. Thread: any of the host's, at any time.
#pragma once

#include "platform/machine/level.h"
#include "platform/machine/pcm_format.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace machine {

// The properties of a microphone.
struct MicrophoneModel {
    std::string Name; // UTF-8; waveIn returns 31 bytes of it
    // dwFormats of its capabilities: bits from 0x001 (11,025 Hz, mono, 8 bits) to 0x800 (44,100 Hz,
    // stereo, 16 bits), in the order of CommonFormats.
    std::uint32_t Formats = 0xFFF;
    unsigned Channels = 2; // the most that it opens with
    // Supported formats that have no bit in Formats.
    std::vector<PcmFormat> MoreFormats = {};
    // Refuses a second open. Otherwise all open streams capture the same sound.
    bool Exclusive = false;
    // The controls of its mixer, which has the microphone's name; empty: it has no mixer.
    std::vector<MixerControl> Mixer = MicrophoneMixer();
};

// Identifies a microphone until PowerOn, independently of its device number. The functions below do
// nothing, and return empty results, for a microphone that was never added.
enum class Microphone : int {};

Microphone AddMicrophone(const MicrophoneModel& model);

// One value for each channel of a control, or one for all; empty if the control does not exist.
std::vector<std::uint32_t> ControlValues(Microphone microphone, const ControlPlace& place);
// Moves a control as a user does: every channel, limited to its maximum. False if it does not
// exist.
bool MoveControl(Microphone microphone, const ControlPlace& place, std::uint32_t value);

// --- The sound that it captures: the feed. Silence at first. ---
//
// A new feed takes effect at the next origin. The origin is a time on the machine's clock: that of
// the Start of a capture while no other capture of this microphone runs. Frame 0 of the feed sounds
// at the origin; a capture that starts later begins with the frame that sounds then. When all
// captures have stopped, the next Start is a new origin. So feed time t (seconds) is captured at
// machine time origin + t, to within half a frame of the capture.

// Fills Samples, interleaved, -1 to 1, with the frames from First on, counted from the origin at
// Rate. Thread: the capturing one. The result may depend on the arguments only, since each capture
// calls it separately.
struct FeedRequest {
    std::uint64_t First; // frame
    unsigned Rate;       // frames per second
    unsigned Channels;
    std::span<float> Samples;
};
using Generator = std::function<void(const FeedRequest&)>;
void FeedGenerator(Microphone microphone, Generator generator);

// --- Faults. Calls that fail: faults.h. ---

// The microphone is not listed and captures nothing any more. Calls on an open handle fail with
// MMSYSERR_NODRIVER, except for unprepare and close.
void Unplug(Microphone microphone);

// Skips the next `times` notifications of captured sound, while sound is captured and positions
// move. The notification after them covers all of it: waveIn then returns several buffers in a row.
void FallBehind(Microphone microphone, unsigned times);

// Makes waveInGetPosition answer in this unit (a TIME_ value) instead of the requested one, as some
// drivers do. 0, as at PowerOn: in the requested unit.
void AnswerPositionsIn(unsigned unit);

// --- Statistics. ---

struct CaptureStats {
    std::uint64_t OriginMicroseconds = 0; // of the feed, on the machine's clock
    int Open = 0;                         // streams
    int Capturing = 0;                    // streams
};
CaptureStats StatsOf(Microphone microphone);

// Objects of all microphones that exist now, to detect leaks.
int OpenWaveIns();
int PreparedWaveHeaders();
int OpenMixers(); // handles
// Headers that were queued, prepared or unprepared while their device was being stopped or reset:
// some systems hang then.
int WaveCallsDuringReset();

} // namespace machine
