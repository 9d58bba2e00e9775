// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "soundin/sound_in_win.h"

#include "support/error_box.h"
#include "support/text_string_array.h"

#include <cstring>
#include <new>
#include <utility>

namespace Sonorel {

namespace {

// The rates that a device's capabilities can list, and the four format bits of each rate.
struct RateStep {
    std::uint32_t Rate;
    DWORD Formats;
};
constexpr RateStep RateSteps[] = {{11025, 0x00F}, {22050, 0x0F0}, {44100, 0xF00}};
constexpr DWORD Formats8Bit = 0x333;
constexpr DWORD Formats16Bit = 0xCCC;

} // namespace

// Shows the message box and returns false.
bool SoundInWin::ReportWaveInError(MMRESULT code) {
    TextString caption = "waveInOpen Error" + (" " + TextString(static_cast<std::int32_t>(code)));
    TextString text("Could not open waveIn device.\n");
    text.Append("The is a problem with the record device.\n");
    text.Append("It is either in use by another application");
    text.Append(" or this soundcard does not support simultaneous record/playback.\n");
    ShowErrorBox(text, caption, MB_ICONHAND);
    return false;
}

bool SoundInWin::Open(std::uint32_t rate) {
    if (WaveIn) return false;
    WAVEINCAPSA caps{};
    LastResult = waveInGetDevCapsA(static_cast<UINT_PTR>(Device), &caps, sizeof caps);
    if (LastResult != MMSYSERR_NOERROR) return ReportWaveInError(LastResult);
    if (!ChooseFormat(caps, rate)) return ReportWaveInError(WAVERR_BADFORMAT);
    LastResult = OpenDevice();
    if (LastResult != MMSYSERR_NOERROR) return ReportWaveInError(LastResult);
    OpenMixerOfDevice();
    return SoundIn::Open(rate);
}

// Leaves nothing open on failure.
MMRESULT SoundInWin::OpenDevice() {
    std::unique_ptr<WaveBuffers> buffers(new (std::nothrow) WaveBuffers(
        *this, [](SoundInWin& owner, WAVEHDR& header) { owner.Deliver(header); }));
    if (!buffers) return MMSYSERR_NOMEM;
    const MMRESULT result = waveInOpen(
        &WaveIn, static_cast<UINT>(Device), &Format, reinterpret_cast<DWORD_PTR>(&WaveInReady),
        reinterpret_cast<DWORD_PTR>(buffers.get()), CALLBACK_FUNCTION);
    if (result != MMSYSERR_NOERROR) {
        WaveIn = nullptr;
        return result;
    }
    if (!buffers->Allocate(static_cast<std::size_t>(BytesPerBlock))) {
        waveInClose(WaveIn);
        WaveIn = nullptr;
        return MMSYSERR_NOMEM;
    }
    Buffers = std::move(buffers);
    return MMSYSERR_NOERROR;
}

// Tries the requested rate, then the higher ones. One supported format per rate suffices; channels
// and bits are then chosen independently of it.
bool SoundInWin::ChooseFormat(const WAVEINCAPSA& caps, std::uint32_t& rate) {
    bool supported = true;
    for (const RateStep& step : RateSteps) {
        if (rate == step.Rate || !supported) {
            rate = step.Rate;
            supported = (caps.dwFormats & step.Formats) != 0;
            if (supported) break;
        }
    }
    if (!supported) return false;
    if (Channels > caps.wChannels) --Channels;
    if (BitsPerSample == 8 && !(caps.dwFormats & Formats8Bit)) BitsPerSample = 16;
    if (BitsPerSample == 16 && !(caps.dwFormats & Formats16Bit)) BitsPerSample = 8;
    SetFormat(rate);
    return true;
}

void SoundInWin::ResetDevice() {
    Channels = 2;
    BitsPerSample = 8;
}

// Opens the mixer of the device, else the first mixer.
void SoundInWin::OpenMixerOfDevice() {
    ResetMixer();
    if (OpenMixer(static_cast<UINT>(Device), MIXER_OBJECTF_WAVEIN) || OpenMixer(0, 0))
        OpenMicLines();
}

bool SoundInWin::Close() {
    if (!WaveIn) return true;
    SoundIn::Close();
    CloseDevice();
    WaveIn = nullptr;
    WaveBuffers::Discard(std::move(Buffers));
    CloseMixer();
    return true;
}

// Closes the device, after a reset if it has not returned all buffers. If it reports that it still
// plays, resets and closes it once more.
void SoundInWin::CloseDevice() {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (attempt > 0 || !Buffers->AllReturned()) waveInReset(WaveIn);
        Buffers->Reclaim(WaveIn);
        LastResult = waveInClose(WaveIn);
        if (LastResult != WAVERR_STILLPLAYING) return;
    }
}

bool SoundInWin::Start() {
    if (!WaveIn || Running) return true;
    Buffers->QueueAll(WaveIn);
    FramesDelivered = 0;
    // Before the device starts, since buffers returned while Running is 0 are not queued again.
    SoundIn::Start();
    LastResult = waveInStart(WaveIn);
    return true;
}

bool SoundInWin::Stop() {
    if (!WaveIn) return true;
    if (Running) {
        SoundIn::Stop();
        // A callback in progress may not have seen that delivery is off. It must have left the
        // system's calls before the reset, which could otherwise deadlock.
        Buffers->AwaitDelivery();
        waveInStop(WaveIn);
        LastResult = waveInReset(WaveIn);
    }
    Buffers->Reclaim(WaveIn);
    return true;
}

std::int32_t SoundInWin::GetDeviceNames(TextStringArray& names) {
    names.Clear();
    const UINT devices = waveInGetNumDevs();
    for (UINT id = 0; id < devices; ++id) {
        WAVEINCAPSA caps{};
        if (waveInGetDevCapsA(id, &caps, sizeof caps) == MMSYSERR_NOERROR)
            names.AppendText(caps.szPname);
    }
    return names.Count;
}

std::int32_t SoundInWin::DeviceNumber(const TextStringArray& names, std::int32_t index) {
    const TextString* const name = names.At(index);
    const UINT devices = waveInGetNumDevs();
    std::int32_t listed = 0;
    for (UINT id = 0; id < devices && name; ++id) {
        WAVEINCAPSA caps{};
        if (waveInGetDevCapsA(id, &caps, sizeof caps) != MMSYSERR_NOERROR) continue;
        if (listed++ < index) continue;
        return std::strcmp(caps.szPname, name->Text()) == 0 ? static_cast<std::int32_t>(id) : -1;
    }
    return -1;
}

} // namespace Sonorel
