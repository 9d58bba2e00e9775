// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fluidsynth/connection.h"

#include "midi/status.h"

#include <algorithm>
#include <array>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace device {
namespace {

using namespace std::chrono_literals;

constexpr double LiveRate = 48000;
constexpr std::size_t StandInFrames = 480;
constexpr auto StandInInterval = 10ms; // the duration of these frames
constexpr auto MaxWaitForDriver = 1900ms;
constexpr auto CheckInterval = 250ms;
constexpr auto StandInAfter = 500ms; // without a block for the driver
constexpr auto ReplaceAfter = 2s;    // the same
constexpr auto RetryInterval = 1s;   // while no driver can be opened
constexpr auto RestAfter = 10s;      // of silence; 1 s if nothing has been played yet
constexpr auto RestUnusedAfter = 1s;
constexpr auto Long = 24h;
constexpr auto Reverberation = 700ms; // that is heard after the last voice, buffers included
constexpr auto MaxDecay = 10s;        // of a voice that does not end

} // namespace

bool SoundConnection::Open(std::string& reason) {
    if (!StartThreads(reason)) return false;
    if (AwaitDriver(reason) && LoadFont(reason)) {
        Used = false;
        LastSound = Clock::now();
        if (Send(midi::SystemReset) == MidiResult::Done) return true;
        reason = "The synthesizer is overloaded.";
    }
    Used = false;
    Close();
    return false;
}

MidiResult SoundConnection::Send(std::uint32_t message) {
    if (!Queue.Push(message)) return MidiResult::Full;
    if (Resting.load() && Resting.exchange(false)) sem_post(&Wake);
    return MidiResult::Done;
}

void SoundConnection::Close() {
    const LockScope lock(Lock);
    ClosedAt = Clock::now();
    LastSound = ClosedAt;
    Current = State::Decaying;
    Notify();
}

void SoundConnection::AwaitDecay(std::chrono::milliseconds most) {
    const auto end = Clock::now() + most;
    LockScope lock(Lock);
    // What has not been played, or is not heard, is not waited for.
    while (Current == State::Decaying && Used && !IsStalled(StandInAfter) && Clock::now() < end)
        Changed.wait_for(lock, CheckInterval);
}

void SoundConnection::Retire() {
    const LockScope lock(Lock);
    Retired = true;
    Notify();
}

bool SoundConnection::StartThreads(std::string& reason) {
    const LockScope lock(Lock);
    if (ThreadsRun) return true;
    DriverSettings = MakeSettings(Wanted, LiveRate, reason);
    if (!DriverSettings) return false;
    try {
        std::thread([self = shared_from_this()] { self->RunConnector(); }).detach();
        std::thread([self = shared_from_this()] { self->RunStandIn(); }).detach();
        ThreadsRun = true;
    } catch (const std::system_error& error) {
        Retired = true; // ends the first, if the second could not be started
        reason = std::string("The synthesizer cannot start a thread: ") + error.what() + ".";
    }
    return ThreadsRun;
}

bool SoundConnection::AwaitDriver(std::string& reason) {
    LockScope lock(Lock);
    const unsigned before = Attempts;
    Current = State::Playing;
    Used = true; // does not rest while the font is loaded
    Resting = false;
    LastSound = Clock::now();
    Notify();
    const bool hangs = HangingAttempt == before; // since an earlier call
    const bool ended = Changed.wait_for(lock, hangs ? 0ms : MaxWaitForDriver,
                                        [this, before] { return Driver || Attempts != before; });
    if (!ended) HangingAttempt = before;
    if (!Driver) reason = DriverProblem(Wanted, !ended);
    return Driver != nullptr;
}

bool SoundConnection::LoadFont(std::string& reason) {
    if (Synth) return true;
    std::unique_ptr<FluidSynth> synth = FluidSynth::Load(Wanted, LiveRate, reason);
    if (!synth) return false;
    while (Rendering.exchange(true, std::memory_order_acquire)) std::this_thread::yield();
    Synth = std::move(synth);
    Rendering.store(false, std::memory_order_release);
    return true;
}

void SoundConnection::Notify() {
    Changed.notify_all();
    sem_post(&Wake);
}

// ---- the connector -----------------------------------------------------------------------------

void SoundConnection::RunConnector() {
    pthread_setname_np(pthread_self(), "zor-synth");
    LockScope lock(Lock);
    while (!Retired || Driver) RunOnce(lock);
}

void SoundConnection::RunOnce(LockScope& lock) {
    const bool wanted = !Retired && Current != State::Idle && !Resting;
    if (wanted && Driver) {
        Sleep(lock, CheckInterval);
        if (IsStalled(ReplaceAfter))
            ReplaceDriver(lock, false);
        else
            Watch();
    } else if (wanted && Current == State::Playing) {
        ReplaceDriver(lock, true);
        if (!Driver) Sleep(lock, RetryInterval);
    } else if (Driver) {
        ReplaceDriver(lock, false);
    } else if (Current == State::Decaying) {
        Current = State::Idle; // there is nothing to be heard
        Changed.notify_all();
    } else if (!Retired) {
        Sleep(lock, Long);
    }
}

// Ends the decay, or rests, after enough silence.
void SoundConnection::Watch() {
    const auto now = Clock::now();
    const auto silent = now - LastSound.load();
    if (Current == State::Decaying && (silent > Reverberation || now - ClosedAt > MaxDecay)) {
        Current = State::Idle;
        Changed.notify_all();
    } else if (Current == State::Playing && silent > (Used ? RestAfter : RestUnusedAfter)) {
        Resting = true;
        if (!Queue.IsEmpty()) Resting = false; // sent in this moment
    }
}

// Until Notify, at most for that time. Unlocked meanwhile.
void SoundConnection::Sleep(LockScope& lock, Clock::duration most) {
    const auto end = (Clock::now() + most).time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(end);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(end - seconds).count()};
    lock.unlock();
    if (sem_clockwait(&Wake, CLOCK_MONOTONIC, &limit) == 0)
        while (sem_trywait(&Wake) == 0) continue; // one look serves all calls
    lock.lock();
}

// Closes the driver, if there is one, and opens another one if wanted. Unlocked meanwhile, since
// both may hang.
void SoundConnection::ReplaceDriver(LockScope& lock, bool open) {
    DriverPointer driver = std::move(Driver);
    lock.unlock();
    driver.reset();
    if (open) {
        driver = OpenDriver(DriverSettings.get(), &OnDriver, this);
        LastDriverBlock = Clock::now(); // it has time until the first one
    }
    lock.lock();
    Driver = std::move(driver);
    Attempts += open;
    Changed.notify_all();
}

bool SoundConnection::IsStalled(Clock::duration limit) const {
    return Clock::now() - LastDriverBlock.load() > limit;
}

// ---- the stand-in, and rendering ---------------------------------------------------------------

void SoundConnection::RunStandIn() {
    pthread_setname_np(pthread_self(), "zor-unheard");
    std::array<float, StandInFrames> left{}, right{};
    auto next = Clock::now();
    LockScope lock(Lock);
    while (!Retired) {
        if (Current == State::Idle || Resting) {
            Changed.wait(lock);
        } else if (!IsStalled(StandInAfter)) {
            Changed.wait_for(lock, CheckInterval);
            next = Clock::now();
        } else {
            lock.unlock();
            RenderBlock(left.data(), right.data(), StandInFrames);
            next += StandInInterval;
            std::this_thread::sleep_until(next);
            lock.lock();
        }
    }
}

// Applies what has been sent, and renders the next frames. Silent while another thread renders,
// which happens for one block when a driver comes back.
void SoundConnection::RenderBlock(float* left, float* right, std::size_t frames) {
    const bool mine = !Rendering.exchange(true, std::memory_order_acquire);
    if (mine && Synth) {
        bool sounds = Synth->ActiveVoices() > 0;
        for (std::uint32_t message = 0; Queue.Pop(message); sounds = true) {
            Synth->Send(message);
            if (message != midi::SystemReset) Used = true;
        }
        Synth->Render(left, right, frames);
        if (sounds) LastSound = Clock::now();
    } else {
        std::fill_n(left, frames, 0.0f);
        std::fill_n(right, frames, 0.0f);
    }
    if (mine) Rendering.store(false, std::memory_order_release);
}

// Thread: the driver's. Real time.
int SoundConnection::OnDriver(void* self, int frames, int /*effects*/, float* /*effect*/[],
                              int /*outputs*/, float* output[]) {
    auto& connection = *static_cast<SoundConnection*>(self);
    connection.LastDriverBlock = Clock::now();
    connection.RenderBlock(output[0], output[1], static_cast<std::size_t>(frames));
    return FLUID_OK;
}

} // namespace device
