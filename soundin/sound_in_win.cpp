#include "soundin/sound_in_win.h"

#include "soundin/section.h"
#include "support/error_box.h"
#include "support/text_string_array.h"

namespace Sonorel {

namespace {

void* AllocateLocked(std::size_t bytes) {
    const HGLOBAL memory = GlobalAlloc(GMEM_ZEROINIT | GMEM_SHARE, bytes);
    if (!memory) return nullptr;
    void* address = GlobalLock(memory);
    if (!address) GlobalFree(memory);
    return address;
}

void FreeLocked(void* address) {
    if (!address) return;
    const HGLOBAL memory = GlobalHandle(address);
    GlobalUnlock(memory);
    GlobalFree(memory);
}

// The rates with formats of their own in the device's capabilities, and the four bits of each.
struct RateStep {
    std::uint32_t Rate;
    DWORD Formats;
};
constexpr RateStep RateSteps[] = {{11025, 0x00F}, {22050, 0x0F0}, {44100, 0xF00}};
constexpr DWORD Formats8Bit = 0x333;
constexpr DWORD Formats16Bit = 0xCCC;

} // namespace

SoundInWin::SoundInWin() { InitializeCriticalSection(&Delivery); }

SoundInWin::~SoundInWin() { DeleteCriticalSection(&Delivery); }

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
    LastResult = waveInOpen(&WaveIn, static_cast<UINT>(Device), &Format,
                            reinterpret_cast<DWORD_PTR>(&WaveInReady),
                            reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION);
    if (LastResult != MMSYSERR_NOERROR) {
        WaveIn = nullptr;
        return ReportWaveInError(LastResult);
    }
    if (!AllocateBuffers()) {
        FreeBuffers();
        waveInClose(WaveIn);
        WaveIn = nullptr;
        LastResult = MMSYSERR_NOMEM;
        return ReportWaveInError(LastResult);
    }
    OpenMixerOfDevice();
    return SoundIn::Open(rate);
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

bool SoundInWin::AllocateBuffers() {
    for (std::size_t index = 0; index < Headers.size(); ++index) {
        auto* header = static_cast<WAVEHDR*>(AllocateLocked(sizeof(WAVEHDR)));
        if (!header) return false;
        Headers[index] = header;
        header->lpData =
            static_cast<char*>(AllocateLocked(static_cast<std::size_t>(BytesPerBlock)));
        if (!header->lpData) return false;
        header->dwBufferLength = static_cast<DWORD>(BytesPerBlock);
        header->dwUser = index;
    }
    return true;
}

void SoundInWin::FreeBuffers() {
    for (WAVEHDR*& header : Headers) {
        // What a device would not give back it may still write to.
        if (header && !(header->dwFlags & WHDR_INQUEUE)) {
            FreeLocked(header->lpData);
            FreeLocked(header);
        }
        header = nullptr;
    }
}

void SoundInWin::OpenMixerOfDevice() {
    CloseMixer();
    if (OpenMixer(static_cast<UINT>(Device), MIXER_OBJECTF_WAVEIN) || OpenMixer(0, 0))
        OpenMicLines();
}

bool SoundInWin::Close() {
    if (!WaveIn) return true;
    SoundIn::Close();
    LastResult = waveInClose(WaveIn);
    if (LastResult == WAVERR_STILLPLAYING) {
        waveInReset(WaveIn);
        LastResult = waveInClose(WaveIn);
    }
    WaveIn = nullptr;
    FreeBuffers();
    CloseMixer();
    return true;
}

bool SoundInWin::Start() {
    if (!WaveIn || Running) return true;
    for (WAVEHDR* header : Headers) Queue(header);
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
        // A callback under way may not see it any more, and must not queue its buffer again behind
        // the reset.
        AwaitDelivery();
        waveInStop(WaveIn);
        LastResult = waveInReset(WaveIn);
    }
    TakeBackBuffers();
    return true;
}

// Waits for a callback under way; from within one there is nothing to wait for.
void SoundInWin::AwaitDelivery() { const Section section(Delivery); }

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

} // namespace Sonorel
