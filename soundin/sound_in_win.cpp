#include "soundin/sound_in_win.h"

#include "support/error_box.h"
#include "support/text_string_array.h"

#include <cstring>
#include <new>
#include <utility>

namespace Sonorel {

namespace {

// The rates with formats of their own in the device's capabilities, and the four bits of each.
struct RateStep {
    std::uint32_t Rate;
    DWORD Formats;
};
constexpr RateStep RateSteps[] = {{11025, 0x00F}, {22050, 0x0F0}, {44100, 0xF00}};
constexpr DWORD Formats8Bit = 0x333;
constexpr DWORD Formats16Bit = 0xCCC;

} // namespace

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

// Leaves nothing open if it fails.
MMRESULT SoundInWin::OpenDevice() {
    std::unique_ptr<WaveBuffers> buffers(new (std::nothrow) WaveBuffers(*this));
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

// Any format of a rate will do, so channels and bits are stepped on their own.
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

void SoundInWin::ForgetDevice() {
    Channels = 2;
    BitsPerSample = 8;
}

void SoundInWin::OpenMixerOfDevice() {
    ForgetMixer();
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

// A device that has not given all back, or says so, is reset once more before it is closed.
void SoundInWin::CloseDevice() {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (attempt > 0 || !Buffers->AllBack()) waveInReset(WaveIn);
        Buffers->TakeBack(WaveIn);
        LastResult = waveInClose(WaveIn);
        if (LastResult != WAVERR_STILLPLAYING) return;
    }
}

bool SoundInWin::Start() {
    if (!WaveIn || Running) return true;
    Buffers->LendAll(WaveIn);
    FramesDelivered = 0;
    // Before the device runs, so that no buffer comes back too early and is kept out of the queue.
    SoundIn::Start();
    LastResult = waveInStart(WaveIn);
    return true;
}

bool SoundInWin::Stop() {
    if (!WaveIn) return true;
    if (Running) {
        SoundIn::Stop();
        // A callback under way may not see it any more, and must be out of the system's calls, with
        // its buffer queued or not, before the reset: the system may hang over one that is not.
        Buffers->AwaitDelivery();
        waveInStop(WaveIn);
        LastResult = waveInReset(WaveIn);
    }
    Buffers->TakeBack(WaveIn);
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

std::int32_t SoundInWin::NumberOf(const TextStringArray& names, std::int32_t place) {
    const TextString* const name = names.At(place);
    const UINT devices = waveInGetNumDevs();
    std::int32_t listed = 0;
    for (UINT id = 0; id < devices && name; ++id) {
        WAVEINCAPSA caps{};
        if (waveInGetDevCapsA(id, &caps, sizeof caps) != MMSYSERR_NOERROR) continue;
        if (listed++ < place) continue;
        return std::strcmp(caps.szPname, name->Text()) == 0 ? static_cast<std::int32_t>(id) : -1;
    }
    return -1;
}

} // namespace Sonorel
