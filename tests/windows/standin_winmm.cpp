// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A winmm.dll for tests: loopback MIDI cables and a clock, with only the calls that the library and
// zorhost make. The test advances the clock, or it follows the real one if the environment variable
// STANDIN_CLOCK is "real". There are no audio devices, unless STANDIN_WAVE is "system": then the
// system's waveIn devices are used.
#define _WINMM_ // keeps the header from importing the functions defined here
#include <windows.h>

#include <mmsystem.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>

namespace {

std::mutex lock; // guards the messages and timers; never held during a callback
using Lock = std::lock_guard<std::mutex>;

constexpr int Cables = 2;
constexpr DWORD StartOfTime = 1000;

struct Cable {
    bool OutputOpen = false;
    bool InputOpen = false;
    bool Started = false;
    DWORD StartTime = 0;
    DWORD_PTR CallBack = 0;
};
Cable cables[Cables];

struct Message {
    int Device;
    DWORD Packed;
};
constexpr int MostMessages = 65536;
Message sent[MostMessages];
int sentCount = 0;
int delivered = 0; // how many of sent the inputs have received

struct Timer {
    bool Pending = false;
    DWORD Due = 0;
    LPTIMECALLBACK CallBack = nullptr;
    DWORD_PTR User = 0;
};
constexpr UINT MostTimers = 16;
Timer timers[MostTimers];
UINT lastDelay = 0;
int openPeriods = 0;
volatile DWORD now = StartOfTime;

// A handle is the number of its cable, from 1. Outputs and inputs have different handle types.
template <class Handle>
Handle HandleOf(int cable) {
    return reinterpret_cast<Handle>(static_cast<ULONG_PTR>(cable + 1));
}
template <class Handle>
Cable* CableOf(Handle handle) {
    const auto number = reinterpret_cast<ULONG_PTR>(handle);
    return number >= 1 && number <= Cables ? &cables[number - 1] : nullptr;
}

void CallInput(int cable, UINT message, DWORD packed, DWORD stamp) {
    using CallBackFn = void(CALLBACK*)(HMIDIIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);
    reinterpret_cast<CallBackFn>(cables[cable].CallBack)(HandleOf<HMIDIIN>(cable), message, 0,
                                                         packed, stamp);
}

std::optional<Message> NextToDeliver() {
    const Lock held(lock);
    if (delivered == sentCount) return {};
    return sent[delivered++];
}

void Deliver() {
    while (const auto message = NextToDeliver()) {
        const Cable& cable = cables[message->Device];
        if (cable.Started)
            CallInput(message->Device, MIM_DATA, message->Packed, now - cable.StartTime);
    }
}

std::optional<Timer> PopDue(UINT id) {
    const Lock held(lock);
    if (!timers[id].Pending || timers[id].Due != now) return {};
    timers[id].Pending = false;
    return timers[id];
}

void RunTimers() {
    for (UINT id = 0; id < MostTimers; ++id)
        if (const auto timer = PopDue(id)) timer->CallBack(id + 1, 0, timer->User, 0, 0);
}

void FollowRealClock() {
    for (DWORD last = GetTickCount();; Sleep(1)) {
        const DWORD passed = GetTickCount() - last;
        last += passed;
        for (DWORD i = 0; i < passed; ++i) {
            now = now + 1;
            RunTimers();
            Deliver();
        }
    }
}

// Called with the first timer, since a library must not start a thread while it is being loaded.
void StartRealClock() {
    static std::once_flag once;
    std::call_once(once, [] {
        const char* const clock = std::getenv("STANDIN_CLOCK");
        if (clock && !std::strcmp(clock, "real")) std::thread(FollowRealClock).detach();
    });
}

template <class Caps>
MMRESULT CapsOf(UINT_PTR device, Caps* caps) {
    if (device >= Cables) return MMSYSERR_BADDEVICEID;
    *caps = {};
    std::snprintf(caps->szPname, sizeof caps->szPname, "Cable %u", static_cast<UINT>(device) + 1);
    return MMSYSERR_NOERROR;
}

MMRESULT ErrorText(MMRESULT code, char* text, UINT size) {
    std::snprintf(text, size, "Error %u", code);
    return MMSYSERR_NOERROR;
}

// Returns a function of the system's winmm.dll, or null unless STANDIN_WAVE is "system".
template <class Function>
Function SystemsOwn(const char* name) {
    static const HMODULE system = [] {
        const char* const wave = std::getenv("STANDIN_WAVE");
        if (!wave || std::strcmp(wave, "system") != 0) return HMODULE{};
        char path[MAX_PATH + 10];
        GetSystemDirectoryA(path, MAX_PATH);
        return LoadLibraryA(std::strcat(path, "\\winmm.dll"));
    }();
    if (!system) return nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(system, name)));
}

} // namespace

extern "C" {

void WINAPI StandInAdvance(DWORD milliseconds) {
    Deliver();
    for (; milliseconds > 0; --milliseconds) {
        now = now + 1;
        RunTimers();
        Deliver();
    }
}
DWORD WINAPI StandInSent(int index) {
    if (index < 0 || index >= sentCount) return 0;
    return static_cast<DWORD>(sent[index].Device) << 24 | sent[index].Packed;
}
UINT WINAPI StandInLastDelay() { return lastDelay; }
int WINAPI StandInOpen() {
    int open = openPeriods;
    for (const Cable& cable : cables) open += cable.OutputOpen + cable.InputOpen;
    return open;
}

// Clock and timers.
DWORD WINAPI timeGetTime() { return now; }
MMRESULT WINAPI timeGetDevCaps(LPTIMECAPS caps, UINT) {
    caps->wPeriodMin = 1;
    caps->wPeriodMax = 65535;
    return TIMERR_NOERROR;
}
MMRESULT WINAPI timeBeginPeriod(UINT) {
    ++openPeriods;
    return TIMERR_NOERROR;
}
MMRESULT WINAPI timeEndPeriod(UINT) {
    --openPeriods;
    return TIMERR_NOERROR;
}
MMRESULT WINAPI timeSetEvent(UINT delay, UINT, LPTIMECALLBACK callBack, DWORD_PTR user, UINT) {
    StartRealClock();
    const Lock held(lock);
    for (UINT id = 0; id < MostTimers; ++id) {
        if (timers[id].Pending) continue;
        timers[id] = {true, now + (delay ? delay : 1), callBack, user};
        lastDelay = delay;
        return id + 1;
    }
    return 0;
}
MMRESULT WINAPI timeKillEvent(UINT id) {
    const Lock held(lock);
    if (id == 0 || id > MostTimers || !timers[id - 1].Pending) return MMSYSERR_INVALPARAM;
    timers[id - 1].Pending = false;
    return TIMERR_NOERROR;
}

// MIDI outputs.
UINT WINAPI midiOutGetNumDevs() { return Cables; }
MMRESULT WINAPI midiOutGetDevCapsA(UINT_PTR device, LPMIDIOUTCAPSA caps, UINT) {
    return CapsOf(device, caps);
}
MMRESULT WINAPI midiOutOpen(LPHMIDIOUT handle, UINT device, DWORD_PTR, DWORD_PTR, DWORD) {
    if (device == MIDI_MAPPER) device = 0;
    if (device >= Cables) return MMSYSERR_BADDEVICEID;
    if (cables[device].OutputOpen) return MMSYSERR_ALLOCATED;
    cables[device].OutputOpen = true;
    *handle = HandleOf<HMIDIOUT>(static_cast<int>(device));
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI midiOutReset(HMIDIOUT handle) {
    return CableOf(handle) ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
}
MMRESULT WINAPI midiOutClose(HMIDIOUT handle) {
    Cable* const cable = CableOf(handle);
    if (!cable || !cable->OutputOpen) return MMSYSERR_INVALHANDLE;
    cable->OutputOpen = false;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI midiOutShortMsg(HMIDIOUT handle, DWORD packed) {
    Cable* const cable = CableOf(handle);
    if (!cable || !cable->OutputOpen) return MMSYSERR_INVALHANDLE;
    const Lock held(lock);
    if (sentCount == MostMessages) return MMSYSERR_NOMEM;
    sent[sentCount++] = {static_cast<int>(cable - cables), packed};
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI midiOutCachePatches(HMIDIOUT, UINT, LPWORD, UINT) { return MMSYSERR_NOTSUPPORTED; }
MMRESULT WINAPI midiOutGetErrorTextA(MMRESULT code, LPSTR text, UINT size) {
    return ErrorText(code, text, size);
}

// MIDI inputs.
UINT WINAPI midiInGetNumDevs() { return Cables; }
MMRESULT WINAPI midiInGetDevCapsA(UINT_PTR device, LPMIDIINCAPSA caps, UINT) {
    return CapsOf(device, caps);
}
MMRESULT WINAPI midiInOpen(LPHMIDIIN handle, UINT device, DWORD_PTR callBack, DWORD_PTR, DWORD) {
    if (device >= Cables) return MMSYSERR_BADDEVICEID;
    if (cables[device].InputOpen) return MMSYSERR_ALLOCATED;
    cables[device].InputOpen = true;
    cables[device].CallBack = callBack;
    *handle = HandleOf<HMIDIIN>(static_cast<int>(device));
    CallInput(static_cast<int>(device), MIM_OPEN, 0, 0);
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI midiInStart(HMIDIIN handle) {
    Cable* const cable = CableOf(handle);
    if (!cable || !cable->InputOpen) return MMSYSERR_INVALHANDLE;
    cable->Started = true;
    cable->StartTime = now;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI midiInStop(HMIDIIN handle) {
    Cable* const cable = CableOf(handle);
    if (!cable || !cable->InputOpen) return MMSYSERR_INVALHANDLE;
    cable->Started = false;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI midiInReset(HMIDIIN handle) { return midiInStop(handle); }
MMRESULT WINAPI midiInClose(HMIDIIN handle) {
    Cable* const cable = CableOf(handle);
    if (!cable || !cable->InputOpen) return MMSYSERR_INVALHANDLE;
    CallInput(static_cast<int>(cable - cables), MIM_CLOSE, 0, 0);
    cable->InputOpen = false;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI midiInGetErrorTextA(MMRESULT code, LPSTR text, UINT size) {
    return ErrorText(code, text, size);
}

// Capture devices: the system's or none.
#define FORWARD(absent, name, parameters, ...)                                                     \
    MMRESULT WINAPI name parameters {                                                              \
        static const auto systems = SystemsOwn<decltype(&name)>(#name);                            \
        return systems ? systems(__VA_ARGS__) : absent;                                            \
    }
FORWARD(0, waveInGetNumDevs, ())
FORWARD(MMSYSERR_BADDEVICEID, waveInGetDevCapsA, (UINT_PTR w, LPWAVEINCAPSA c, UINT n), w, c, n)
FORWARD(MMSYSERR_BADDEVICEID, waveInOpen,
        (LPHWAVEIN w, UINT n, LPCWAVEFORMATEX f, DWORD_PTR c, DWORD_PTR u, DWORD o), w, n, f, c, u,
        o)
FORWARD(MMSYSERR_INVALHANDLE, waveInClose, (HWAVEIN w), w)
FORWARD(MMSYSERR_INVALHANDLE, waveInPrepareHeader, (HWAVEIN w, LPWAVEHDR h, UINT n), w, h, n)
FORWARD(MMSYSERR_INVALHANDLE, waveInUnprepareHeader, (HWAVEIN w, LPWAVEHDR h, UINT n), w, h, n)
FORWARD(MMSYSERR_INVALHANDLE, waveInAddBuffer, (HWAVEIN w, LPWAVEHDR h, UINT n), w, h, n)
FORWARD(MMSYSERR_INVALHANDLE, waveInStart, (HWAVEIN w), w)
FORWARD(MMSYSERR_INVALHANDLE, waveInStop, (HWAVEIN w), w)
FORWARD(MMSYSERR_INVALHANDLE, waveInReset, (HWAVEIN w), w)
FORWARD(MMSYSERR_INVALHANDLE, waveInGetPosition, (HWAVEIN w, LPMMTIME t, UINT n), w, t, n)

// No mixer.
#define ABSENT(result, name, ...)                                                                  \
    MMRESULT WINAPI name(__VA_ARGS__) { return result; }
ABSENT(0, mixerGetNumDevs)
ABSENT(MMSYSERR_BADDEVICEID, mixerGetDevCapsA, UINT_PTR, LPMIXERCAPSA, UINT)
ABSENT(MMSYSERR_BADDEVICEID, mixerOpen, LPHMIXER, UINT, DWORD_PTR, DWORD_PTR, DWORD)
ABSENT(MMSYSERR_INVALHANDLE, mixerClose, HMIXER)
ABSENT(MMSYSERR_BADDEVICEID, mixerGetLineInfoA, HMIXEROBJ, LPMIXERLINEA, DWORD)
ABSENT(MMSYSERR_BADDEVICEID, mixerGetLineControlsA, HMIXEROBJ, LPMIXERLINECONTROLSA, DWORD)
ABSENT(MMSYSERR_BADDEVICEID, mixerGetControlDetailsA, HMIXEROBJ, LPMIXERCONTROLDETAILS, DWORD)
ABSENT(MMSYSERR_BADDEVICEID, mixerSetControlDetails, HMIXEROBJ, LPMIXERCONTROLDETAILS, DWORD)

} // extern "C"
