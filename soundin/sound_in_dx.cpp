// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "soundin/sound_in_dx.h"

#include "support/text_string_array.h"

#include <cstring>
#include <memory>
#include <new>

namespace Sonorel {

namespace {

using EnumerateFunction = HRESULT(WINAPI*)(LPDSENUMCALLBACKA callback, LPVOID context);
using CreateFunction = HRESULT(WINAPI*)(LPCGUID device, IDirectSoundCapture** capture,
                                        LPUNKNOWN outer);

// IID_IDirectSoundNotify, defined here to avoid linking dxguid.
constexpr GUID NotifyInterface = {
    0xb0210783, 0x89cd, 0x11d0, {0xaf, 0x08, 0x00, 0xa0, 0xc9, 0x25, 0xcd, 0x16}};

template <typename Function>
Function FindFunction(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// Why Open failed.
enum Failure : int {
    NoModule = -1,
    NoFunction = -2,
    NoDevice = -3,
    NoBuffer = -4,
    NoNotify = -5,
};

const char* Reason(int code) {
    switch (code) {
    case NoModule:
        return "DirectX Not Installed";
    case NoFunction:
        return "DirectX 5 Not Installed";
    case NoDevice:
        return "Device Allocated";
    case NoBuffer:
        return "No Capture Buffer";
    default:
        return "No DS Notify";
    }
}

// Called by DirectSound for each device. context: the list. Returning FALSE ends the enumeration.
BOOL CALLBACK AddDevice(LPGUID guid, LPCSTR description, LPCSTR module, LPVOID context) {
    if (!context) return FALSE;
    auto& devices = *static_cast<PointerArray<CaptureDeviceRecord>*>(context);
    std::unique_ptr<CaptureDeviceRecord> record(new (std::nothrow) CaptureDeviceRecord{
        guid ? *guid : GUID{}, TextString(description), TextString(module)});
    if (!record || !devices.Append(record.get())) return FALSE;
    static_cast<void>(record.release()); // now owned by the list
    return TRUE;
}

HANDLE CreateAutoResetEvent() { return CreateEventA(nullptr, FALSE, FALSE, nullptr); }

void CloseEvent(HANDLE event) {
    if (event) CloseHandle(event);
}

} // namespace

SoundInDx::SoundInDx() {
    DSoundModule = LoadLibraryA("DSOUND.DLL");
    StopEvent = CreateAutoResetEvent();
    for (HANDLE& event : NotifyEvents) event = CreateAutoResetEvent();
    ListDevices();
}

SoundInDx::~SoundInDx() {
    CloseEvent(StopEvent);
    for (HANDLE event : NotifyEvents) CloseEvent(event);
    if (DSoundModule) FreeLibrary(DSoundModule);
}

bool SoundInDx::ReportOpenFailure(int code) {
    OpenFailure.emplace("Can't Open DirectSound Capture:\n\n");
    OpenFailure->Append(Reason(code));
    return false;
}

void SoundInDx::ListDevices() {
    if (!DSoundModule) {
        ReportOpenFailure(NoModule);
        return;
    }
    const auto enumerate =
        FindFunction<EnumerateFunction>(DSoundModule, "DirectSoundCaptureEnumerateA");
    if (!enumerate) {
        ReportOpenFailure(NoFunction);
        return;
    }
    CaptureDevices.Clear();
    enumerate(&AddDevice, &CaptureDevices);
    LastResult = DS_OK;
}

bool SoundInDx::Open(std::uint32_t rate) {
    if (!DSoundModule) return ReportOpenFailure(NoModule);
    // Already open, and perhaps capturing: no member that the thread reads may change.
    if (CaptureBuffer) return false;
    if (!Capture && !CreateCapture()) return false;
    SetFormat(rate);
    if (!CreateBuffer()) return false;
    ResetMixer();
    if (Device < CaptureDevices.Count) FindMixer();
    return SoundIn::Open(rate);
}

// An index outside the list opens the system's default device.
bool SoundInDx::CreateCapture() {
    const auto create = FindFunction<CreateFunction>(DSoundModule, "DirectSoundCaptureCreate");
    if (!create) return ReportOpenFailure(NoFunction);
    const CaptureDeviceRecord* record = CaptureDevices.At(Device);
    LastResult = create(record ? &record->Guid : nullptr, &Capture, nullptr);
    if (SUCCEEDED(LastResult)) return true;
    Capture = nullptr;
    return ReportOpenFailure(NoDevice);
}

bool SoundInDx::CreateBuffer() {
    BufferDesc = {};
    BufferDesc.dwSize = sizeof(DSCBUFFERDESC1); // the size known to DirectX 5
    BufferDesc.dwBufferBytes = static_cast<DWORD>(BytesPerBlock * BlockCount);
    BufferDesc.lpwfxFormat = &Format;
    LastResult = Capture->CreateCaptureBuffer(&BufferDesc, &CaptureBuffer, nullptr);
    if (FAILED(LastResult)) {
        CaptureBuffer = nullptr;
        return ReportOpenFailure(NoBuffer);
    }
    return RequestNotifications() || ReportOpenFailure(NoNotify);
}

// Requests an event at the last byte of each block.
bool SoundInDx::RequestNotifications() {
    void* found = nullptr;
    LastResult = CaptureBuffer->QueryInterface(NotifyInterface, &found);
    if (FAILED(LastResult)) return false;
    auto* notify = static_cast<IDirectSoundNotify*>(found);
    bool complete = StopEvent != nullptr;
    for (std::size_t block = 0; block < NotifyPositions.size(); ++block) {
        NotifyPositions[block].dwOffset =
            static_cast<DWORD>((block + 1) * static_cast<std::size_t>(BytesPerBlock) - 1);
        NotifyPositions[block].hEventNotify = NotifyEvents[block];
        complete = complete && NotifyEvents[block];
    }
    LastResult = notify->SetNotificationPositions(BlockCount, NotifyPositions.data());
    notify->Release();
    // The thread cannot wait if an event is missing.
    return complete;
}

// Opens the mixer whose whole name is a prefix of the device's description, else the first mixer.
void SoundInDx::FindMixer() {
    const CaptureDeviceRecord* record = CaptureDevices.At(Device);
    const char* description = record ? record->Description.Text() : "";
    const UINT mixers = mixerGetNumDevs();
    for (UINT id = 0; id < mixers && !Mixer; ++id) {
        MIXERCAPSA caps{};
        if (mixerGetDevCapsA(id, &caps, sizeof caps) != MMSYSERR_NOERROR) continue;
        if (std::strncmp(caps.szPname, description, std::strlen(caps.szPname)) == 0)
            OpenMixer(id, 0);
    }
    if (Mixer || OpenMixer(0, 0)) OpenMicLines();
}

bool SoundInDx::IsDefaultDevice() const {
    const CaptureDeviceRecord* record = CaptureDevices.At(Device);
    return record && record->Guid == GUID{};
}

bool SoundInDx::Close() {
    SoundIn::Close();
    if (CaptureBuffer) CaptureBuffer->Release();
    CaptureBuffer = nullptr;
    if (Capture) Capture->Release();
    Capture = nullptr;
    CloseMixer();
    return true;
}

bool SoundInDx::Start() {
    if (Running || !CaptureBuffer) return true;
    // Events left signalled by an earlier run would end this one or give a wrong position.
    ResetEvent(StopEvent);
    for (HANDLE event : NotifyEvents) ResetEvent(event);
    CaptureThread = _beginthreadex(nullptr, 4096, &RunCaptureThread, this, 0, nullptr);
    return SoundIn::Start();
}

// Waits for the callback in progress and the end of the thread.
bool SoundInDx::Stop() {
    if (!Running) return true;
    SoundIn::Stop();
    if (CaptureThread) {
        SetEvent(StopEvent);
        const auto thread = reinterpret_cast<HANDLE>(CaptureThread);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
        CaptureThread = 0;
    }
    return true;
}

std::int32_t SoundInDx::GetDeviceNames(TextStringArray& names) {
    names.Clear();
    for (std::int32_t index = 0; index < CaptureDevices.Count; ++index)
        names.AppendText(CaptureDevices.Items[index]->Description.Text());
    return names.Count;
}

} // namespace Sonorel
