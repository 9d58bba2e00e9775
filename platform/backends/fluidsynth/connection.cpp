// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fluidsynth/connection.h"

#include "midi/status.h"

#include <array>
#include <pthread.h>
#include <thread>

namespace device {
namespace {

using namespace std::chrono_literals;

constexpr double LiveRate = 48000;
constexpr std::size_t UnheardFrames = 480;
constexpr auto UnheardInterval = 10ms; // the duration of these frames
constexpr auto CheckInterval = 250ms;
constexpr auto UnheardAfter = 500ms; // without a block for the driver
constexpr auto ReplaceAfter = 2s;    // the same
constexpr auto RetryInterval = 1s;   // while no driver can be opened
constexpr auto RestAfter = 10s;      // of silence
constexpr auto RestUnusedAfter = 1s; // the same, if nothing has been played yet
constexpr auto Long = 24h;
constexpr auto Reverberation = 700ms; // that is heard after the last voice, buffers included
constexpr auto MaxDecay = 10s;        // of a voice that does not end

} // namespace

bool SoundConnection::Open(std::string& reason) {
    reason = Start();
    std::unique_ptr<FluidSynth> loaded;
    if (reason.empty() && !Synth) loaded = FluidSynth::Load(Wanted, LiveRate, reason);
    LastSound = Clock::now() - (RestAfter - RestUnusedAfter);
    if (!reason.empty()) {
        Close();
        return false;
    }
    while (Rendering.exchange(true, std::memory_order_acquire)) std::this_thread::yield();
    if (loaded) Synth = std::move(loaded);
    for (std::uint32_t outdated = 0; Queue.Pop(outdated);) continue;
    Synth->Send(midi::SystemReset);
    Rendering.store(false, std::memory_order_release);
    return true;
}

MidiResult SoundConnection::Send(std::uint32_t message) {
    if (!Queue.Push(message)) return MidiResult::Full;
    auto resting = State::Resting;
    if (Current.compare_exchange_strong(resting, State::Playing)) sem_post(&Wake);
    return MidiResult::Done;
}

void SoundConnection::Close() {
    const LockScope lock(Lock);
    ClosedAt = Clock::now();
    Current = State::Decaying;
    sem_post(&Wake);
}

void SoundConnection::AwaitDecay(std::chrono::milliseconds most) const {
    const auto end = Clock::now() + most;
    // What is not heard is not waited for.
    while (Current == State::Decaying && !IsSilent(Reverberation) && !IsStalled(UnheardAfter) &&
           Clock::now() < end)
        std::this_thread::sleep_for(UnheardInterval);
}

void SoundConnection::Retire() {
    const LockScope lock(Lock);
    Retired = true;
    sem_post(&Wake);
}

// Returns the reason, as a sentence, if no driver can be opened; empty otherwise.
std::string SoundConnection::Start() {
    LockScope lock(Lock);
    if (!Started) {
        std::string problem = StartThread([self = shared_from_this()] { self->Run(); });
        if (!problem.empty()) return problem;
        Started = true;
    }
    LastSound = Clock::now(); // no rest while the font is loaded
    Current = State::Playing;
    if (!Driver || Driver->HasFailed()) Connect();
    const auto driver = Driver;
    sem_post(&Wake);
    lock.unlock();
    return driver->AwaitOpening();
}

void SoundConnection::Run() {
    pthread_setname_np(pthread_self(), "zor-synth");
    std::array<float, UnheardFrames> left{}, right{};
    auto next = Clock::now();
    LockScope lock(Lock);
    while (!Retired) {
        Watch();
        if (Current == State::Resting) {
            const bool opening = Driver && Driver->IsOpening();
            if (!opening) Driver.reset(); // else the next Start finds out that it hangs
            Sleep(lock, opening ? CheckInterval : Long);
        } else if (!IsStalled(UnheardAfter)) {
            Sleep(lock, CheckInterval);
            next = Clock::now();
        } else {
            lock.unlock();
            Render(left.data(), right.data(), UnheardFrames);
            next += UnheardInterval;
            std::this_thread::sleep_until(next);
            lock.lock();
        }
    }
    Driver.reset();
}

// Replaces a driver that does not render; ends the decay, or rests, after enough silence.
void SoundConnection::Watch() {
    const State before = Current;
    const auto now = Clock::now();
    const auto decay = now - ClosedAt;
    const bool lost = !Driver || (!Driver->IsOpening() && IsStalled(ReplaceAfter) &&
                                  now - Driver->Begin > RetryInterval);
    if (before == State::Decaying) {
        // The driver is kept for a stream that is opened anew at once.
        if (lost || decay > MaxDecay || (decay > Reverberation && IsSilent(Reverberation)))
            Current = State::Resting;
    } else if (before == State::Playing && lost) {
        Connect();
    } else if (before == State::Playing && IsSilent(RestAfter)) {
        Current = State::Resting;
        if (!IsSilent(RestAfter)) Current = State::Playing; // sent in this moment
    }
}

void SoundConnection::Connect() {
    // The first one has time to open before messages are rendered unheard.
    if (!Driver) LastBlock = Clock::now();
    Driver = std::make_shared<SoundDriver>(Wanted, LiveRate, shared_from_this());
}

// In this order, since a message that has left the queue counts as sound.
bool SoundConnection::IsSilent(Clock::duration limit) const {
    return Queue.IsEmpty() && Clock::now() - LastSound.load() > limit;
}

// Until Wake, at most for that time. Unlocked meanwhile.
void SoundConnection::Sleep(LockScope& lock, Clock::duration most) {
    const auto end = (Clock::now() + most).time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(end);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(end - seconds).count()};
    lock.unlock();
    if (sem_clockwait(&Wake, CLOCK_MONOTONIC, &limit) == 0)
        while (sem_trywait(&Wake) == 0) continue; // one look serves all calls
    lock.lock();
}

// Applies what has been sent, and renders the next frames. Leaves them silent while another thread
// renders, which happens for one block when a driver comes back. Real time.
void SoundConnection::Render(float* left, float* right, std::size_t frames) {
    if (Rendering.exchange(true, std::memory_order_acquire)) return;
    if (Synth) {
        const bool sounds = Synth->ActiveVoices() > 0 || !Queue.IsEmpty();
        if (sounds) LastSound = Clock::now(); // before the messages leave the queue
        for (std::uint32_t message = 0; sounds && Queue.Pop(message);) Synth->Send(message);
        Synth->Render(left, right, frames);
    }
    Rendering.store(false, std::memory_order_release);
}

} // namespace device
