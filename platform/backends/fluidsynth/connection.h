// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A synthesizer on a sound driver of libfluidsynth, and its reconnection.
//
// The driver's thread renders. It ends without notice when the server dies and stands still while
// the server hangs, as every call does that opens or closes a driver. So two threads of ours stand
// beside it, which sleep while no stream is open:
// - the connector opens the driver, replaces it when it has stopped rendering, and closes it when
//   the last voices of a closed stream have decayed, or after seconds of silence: the next message
//   opens it again. No thread waits for the connector longer than two seconds.
// - the stand-in renders unheard while no driver does, so that notes begin and end in time and the
//   queue is emptied.
#pragma once

#include "platform/api/synthesizer.h"
#include "platform/backends/fluidsynth/client.h"
#include "platform/backends/fluidsynth/message_queue.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <semaphore.h>
#include <string>

namespace device {

// Thread: any, one at a time for each function. Its threads keep a reference.
class SoundConnection final : public SynthesizerStream,
                              public std::enable_shared_from_this<SoundConnection> {
public:
    explicit SoundConnection(machine::SynthesizerSettings wanted) : Wanted(std::move(wanted)) {
        sem_init(&Wake, 0, 0);
    }
    ~SoundConnection() { sem_destroy(&Wake); }
    SoundConnection(const SoundConnection&) = delete;
    SoundConnection& operator=(const SoundConnection&) = delete;

    const machine::SynthesizerSettings Wanted;

    // Plays from now on, with all channels reset; what sounded before ends. Loads the font at the
    // first call. False, with the reason, if that fails or no driver can be opened in two seconds.
    bool Open(std::string& reason);
    // Sounds on until the last voice has decayed. Does not wait.
    void Close();
    MidiResult Send(std::uint32_t message) override;
    // Waits until the last voice of a closed connection has decayed.
    void AwaitDecay(std::chrono::milliseconds most);
    // Closes the driver and ends the threads, later if the driver hangs. Does not wait.
    void Retire();

private:
    using Clock = std::chrono::steady_clock;
    using LockScope = std::unique_lock<std::mutex>;
    enum class State { Idle, Playing, Decaying };

    bool StartThreads(std::string& reason);
    bool AwaitDriver(std::string& reason);
    bool LoadFont(std::string& reason);
    void RunConnector();
    void RunStandIn();
    void ReplaceDriver(LockScope& lock, bool open);
    void RunOnce(LockScope& lock);
    void Watch();
    void Sleep(LockScope& lock, Clock::duration most);
    void Notify();
    bool IsStalled(Clock::duration limit) const;
    void RenderBlock(float* left, float* right, std::size_t frames);
    static int OnDriver(void* self, int frames, int effects, float* effect[], int outputs,
                        float* output[]);

    MessageQueue Queue;
    std::atomic<bool> Rendering{false}; // set by the thread that uses the next one
    std::unique_ptr<FluidSynth> Synth;  // null, and silent, until the font is loaded
    std::atomic<Clock::time_point> LastSound{Clock::time_point{}}; // or message
    std::atomic<bool> Used{false};    // by a message since it was opened
    std::atomic<bool> Resting{false}; // Playing, but without a driver until the next message
    std::atomic<Clock::time_point> LastDriverBlock{Clock::time_point{}};

    sem_t Wake; // ends the connector's sleep; the only kind of wake-up that Send may use

    std::mutex Lock; // of all below
    std::condition_variable Changed;
    State Current = State::Idle;
    Clock::time_point ClosedAt{};
    bool ThreadsRun = false;
    bool Retired = false;
    unsigned Attempts = 0;          // to open a driver, that have ended
    unsigned HangingAttempt = ~0u;  // its number, from 0, if a caller has given it up
    SettingsPointer DriverSettings; // outlives the driver, which uses it
    DriverPointer Driver;
};

} // namespace device
