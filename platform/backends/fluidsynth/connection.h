// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A synthesizer on a sound driver of libfluidsynth, and its reconnection.
//
// The driver's thread renders. It ends without notice when the server dies and stands still while
// the server hangs. So a thread of ours stands beside it, which sleeps while no stream is open: it
// replaces a driver that has stopped rendering, closes it when the last voices of a closed stream
// have decayed, or after seconds of silence, until the next message, and renders unheard while no
// driver does, so that notes begin and end in time and the queue is emptied.
#pragma once

#include "platform/api/synthesizer.h"
#include "platform/backends/fluidsynth/client.h"
#include "platform/backends/fluidsynth/driver.h"
#include "platform/backends/fluidsynth/message_queue.h"

#include <semaphore.h>

namespace device {

// Thread: any, one at a time for each function. Its threads keep a reference.
class SoundConnection final : public SynthesizerStream,
                              public SoundSource,
                              public std::enable_shared_from_this<SoundConnection> {
public:
    explicit SoundConnection(machine::SynthesizerSettings wanted) : Wanted(std::move(wanted)) {
        sem_init(&Wake, 0, 0);
    }
    ~SoundConnection() override { sem_destroy(&Wake); }

    const machine::SynthesizerSettings Wanted;

    // Plays from now on, with all channels reset; what sounded before ends. Loads the font at the
    // first call. False, with the reason, if that fails or no driver can be opened in two seconds.
    bool Open(std::string& reason);
    // Sounds on until the last voice has decayed. Does not wait.
    void Close();
    MidiResult Send(std::uint32_t message) override;
    // Waits until the last voice of a closed connection has decayed.
    void AwaitDecay(std::chrono::milliseconds most) const;
    // Closes the driver and ends the threads, later if the driver hangs. Does not wait.
    void Retire();

private:
    using LockScope = std::unique_lock<std::mutex>;
    // Resting: without a driver until the next message or Open.
    enum class State { Resting, Playing, Decaying };

    std::string Start();
    void Run();
    void Watch();
    void Connect();
    void Sleep(LockScope& lock, Clock::duration most);
    bool IsSilent(Clock::duration limit) const;
    bool IsStalled(Clock::duration limit) const { return Clock::now() - LastBlock.load() > limit; }
    void Render(float* left, float* right, std::size_t frames) override;

    MessageQueue Queue;
    std::atomic<bool> Rendering{false};         // set by the thread that uses the next one
    std::unique_ptr<FluidSynth> Synth;          // null, and silent, until the font is loaded
    std::atomic<Clock::time_point> LastSound{}; // or message
    std::atomic<State> Current{State::Resting}; // changed under Lock, but for the end of a rest

    sem_t Wake; // ends the thread's sleep; the only kind of wake-up that Send may use

    std::mutex Lock; // of all below
    Clock::time_point ClosedAt{};
    bool Started = false; // the thread
    bool Retired = false;
    std::shared_ptr<SoundDriver> Driver;
};

} // namespace device
