// The way of a waveIn buffer: queued, filled, delivered on the system's thread, queued again.
#include "soundin/sound_in_win.h"

namespace Sonorel {

// A header that the system will not release stays marked as prepared, so that Stop tries again.
void SoundInWin::Unprepare(HWAVEIN device, WAVEHDR& header) {
    const MMRESULT result = waveInUnprepareHeader(device, &header, sizeof header);
    header.dwFlags &= result == MMSYSERR_NOERROR ? 0 : WHDR_PREPARED;
}

void CALLBACK SoundInWin::WaveInReady(HWAVEIN, UINT message, DWORD_PTR instance,
                                      DWORD_PTR parameter, DWORD_PTR) {
    if (message != WIM_DATA || !instance) return;
    reinterpret_cast<WaveBuffers*>(instance)->CameBack(*reinterpret_cast<WAVEHDR*>(parameter));
}

// With delivery off nothing of the system may be called from here: the owner may be inside a reset,
// which the system can then hang over. Stop unprepares what is left lying.
void SoundInWin::Deliver(WAVEHDR& header) {
    if (!Running) return;
    Unprepare(WaveIn, header);
    if (!Callback) return;
    const std::uint32_t now = timeGetTime();
    const std::uint32_t frames = header.dwBytesRecorded / Format.nBlockAlign;
    Callback(TimeOfLastFrame(now, frames), reinterpret_cast<const std::uint8_t*>(header.lpData),
             static_cast<std::int32_t>(header.dwBytesRecorded), CallbackContext);
    FramesDelivered += frames;
    // It may have been stopped meanwhile.
    if (Running) Buffers->Lend(WaveIn, header);
}

// The device has gone on since the block ended by what its position is ahead of the frames that
// have been given out, this block's included.
std::uint32_t SoundInWin::TimeOfLastFrame(std::uint32_t now, std::uint32_t frames) const {
    MMTIME position{};
    position.wType = TIME_SAMPLES;
    if (waveInGetPosition(WaveIn, &position, sizeof position) != MMSYSERR_NOERROR) return now;
    const std::uint64_t rate = Format.nSamplesPerSec;
    std::uint32_t reached = 0;
    switch (position.wType) { // the device may answer in a unit of its own choice
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
    // More than all buffers hold, or less than nothing: the two counts have parted.
    if (lag > static_cast<std::uint32_t>(FramesPerBlock * BlockCount)) return now;
    return now - static_cast<std::uint32_t>(lag * std::uint64_t{1000} / rate);
}

} // namespace Sonorel
