// The machine's microphones: what each can do, what it hears, and how it can go wrong.
//
// waveIn and DirectSound capture present the same microphones. waveIn device n is the nth one still
// plugged in; DirectSound lists "Primary Sound Capture Driver" without a GUID first, which is
// device 0, and then each of them. All functions are for the thread that steers, at any time.
#pragma once

#include "platform/system/wave.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace machine {

struct PcmFormat {
    unsigned Rate;     // frames a second
    unsigned Channels; // 1 or 2
    unsigned Bits;     // 8 or 16
    friend bool operator==(const PcmFormat&, const PcmFormat&) = default;
};

// What a microphone is made of.
struct MicrophoneModel {
    std::string Name; // waveIn gives 31 characters of it, DirectSound all
    // dwFormats of its capabilities: WAVE_FORMAT_1M08 (0x001) to WAVE_FORMAT_4S16 (0x800).
    std::uint32_t Formats = 0xFFF;
    unsigned Channels = 2; // wChannels of its capabilities; more than this are refused
    // Formats beyond those that dwFormats can tell.
    std::vector<PcmFormat> MoreFormats = {};
    // Refuses a second open with MMSYSERR_ALLOCATED or DSERR_ALLOCATED. Otherwise all who have it
    // open hear the same.
    bool Exclusive = false;
    // The unit that waveInGetPosition answers in whatever is asked for, as some drivers do: a TIME_
    // value. 0: as asked.
    unsigned PositionUnit = 0;
    // Comes with a mixer of its own name (mixer.h, MicrophoneMixer).
    bool WithMixer = true;
};

// A microphone for as long as the machine is on, whatever its device number becomes. The functions
// below do nothing, and give empty results, for a microphone that was never added.
enum class Microphone : int {};

Microphone AddMicrophone(const MicrophoneModel& model);

// Its waveIn device number now, -1 once unplugged. DirectSound enumerates it as number + 1.
int DeviceNumber(Microphone microphone);

// --- What it hears: nothing (silence) until told. Takes effect at the next origin. ---
//
// The feed has an origin on the machine's clock: the Start of the first capture, waveIn's or
// DirectSound's, while nobody else is capturing from this microphone. Frame 0 of the feed sounds
// at the origin; a capture that starts later hears the feed from where it then stands. When all
// have stopped, the next Start begins the feed again. So feed time t (seconds) is captured at
// machine time Origin + t, to within half a frame of the capture.

struct FileFeed {
    std::string Error; // empty, or a sentence for the user that names the file and what is wrong
    std::uint64_t Frames = 0; // length in the file's own frames
    unsigned Rate = 0;        // Hz
    unsigned Channels = 0;
};
// A sound file: WAV, FLAC, Ogg and whatever else libsndfile reads, any rate, channel count and
// length; it is streamed. leadMilliseconds of silence come before the first frame, and silence
// after the last one. On an error the feed stays as it was.
FileFeed FeedFile(Microphone microphone, const std::string& path,
                  std::uint32_t leadMilliseconds = 0);
// The same look at a file without feeding it.
FileFeed ProbeSoundFile(const std::string& path);

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
void FeedSilence(Microphone microphone);

// The recording volume of its mixer scales what is captured, half the range being unity; from
// the next Start on. Off at first: what is captured is what was fed.
void LetVolumeScale(Microphone microphone, bool on);

// --- How it can go wrong. Calls that fail: faults.h. ---

// Not listed any more, and nothing more is captured. Calls on an open handle fail with
// MMSYSERR_NODRIVER or DSERR_NODRIVER, but for those that stop, reset and close.
void Unplug(Microphone microphone);

// While on: sound is captured, positions move, but no event is set and no buffer given back.
void StopNotifying(Microphone microphone, bool on = true);

// The next notifications (DirectSound) are left out for good. Of waveIn as many finished buffers
// are held back, and come in a row with the one after them.
void FallBehind(Microphone microphone, unsigned notifications);

// Present: as it should be. WithoutCapture: the library loads, but holds neither entry point.
enum class DirectSound { Absent, WithoutCapture, Present };
void SetDirectSound(DirectSound state); // Present at load

// --- What came of it. ---

struct CaptureStats {
    std::uint64_t OriginMicroseconds = 0; // of the feed, on the machine's clock
    bool Started = false;                 // there is an origin
    bool Ended = false;                   // the last frame of the file has been captured
    bool ReadFailed = false;              // the file broke off; silence since
    std::uint64_t FileFrames = 0;         // of the file, in its own frames, captured so far
    std::uint64_t Frames = 0;             // captured, in all captures' own frames together
    std::uint64_t FramesLost = 0;         // of waveIn, while no buffer was queued
    std::uint64_t Notifications = 0;      // events set and buffers given back full
    int Open = 0;                         // waveIn handles and DirectSound capture buffers
    int Capturing = 0;
};
CaptureStats StatsOf(Microphone microphone);

// Handles and objects that exist now, over all microphones, for finding what was not freed.
int OpenWaveIns();
int OpenCaptureObjects(); // IDirectSoundCapture and IDirectSoundCaptureBuffer
int PreparedWaveHeaders();
// Headers queued, prepared or unprepared while their device was being stopped or reset, which some
// systems hang over.
int WaveCallsDuringReset();

} // namespace machine
