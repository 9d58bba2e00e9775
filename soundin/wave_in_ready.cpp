// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Delivery of waveIn buffers: queued, filled, delivered on the system's thread, queued again.
#include "soundin/sound_in_win.h"

namespace Sonorel {

void CALLBACK SoundInWin::WaveInReady(HWAVEIN, UINT message, DWORD_PTR instance,
                                      DWORD_PTR parameter, DWORD_PTR) {
    if (message != WIM_DATA || !instance) return;
    reinterpret_cast<WaveBuffers*>(instance)->BufferReturned(
        *reinterpret_cast<WAVEHDR*>(parameter));
}

// With delivery off this function must not call the system: the owner may be inside a reset, which
// could then deadlock. Stop unprepares the remaining buffers.
void SoundInWin::Deliver(WAVEHDR& header) {
    if (!Running) return;
    WaveBuffers::Unprepare(WaveIn, header);
    if (!Callback) return;
    const std::uint32_t now = timeGetTime();
    const std::uint32_t frames = header.dwBytesRecorded / Format.nBlockAlign;
    Callback(TimeOfLastFrame(now, frames), reinterpret_cast<const std::uint8_t*>(header.lpData),
             static_cast<std::int32_t>(header.dwBytesRecorded), CallbackContext);
    FramesDelivered += frames;
    // The callback may have called Stop.
    if (Running) Buffers->Queue(WaveIn, header);
}

// now: timeGetTime. The device's position minus the frames delivered, this block included, is the
// number of frames captured since the end of the block.
std::uint32_t SoundInWin::TimeOfLastFrame(std::uint32_t now, std::uint32_t frames) const {
    MMTIME position{};
    position.wType = TIME_SAMPLES;
    if (waveInGetPosition(WaveIn, &position, sizeof position) != MMSYSERR_NOERROR) return now;
    const std::uint64_t rate = Format.nSamplesPerSec;
    std::uint32_t reached = 0;
    switch (position.wType) { // the device may answer in another unit
    case TIME_SAMPLES:
        reached = position.u.sample;
        break;
    case TIME_BYTES:
        reached = position.u.cb / Format.nBlockAlign;
        break;
    case TIME_MS:
        reached = static_cast<std::uint32_t>(position.u.ms * rate / 1000);
        break;
    default:
        return now;
    }
    const std::uint32_t lag = reached - (FramesDelivered + frames);
    // More than all buffers hold, or negative (wrapped): the device counts differently.
    if (lag > static_cast<std::uint32_t>(FramesPerBlock * BlockCount)) return now;
    return now - static_cast<std::uint32_t>(lag * std::uint64_t{1000} / rate);
}

} // namespace Sonorel
