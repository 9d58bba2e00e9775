// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "soundin/wave_buffers.h"

#include "support/locked_memory.h"

#include <algorithm>
#include <utility>

namespace Sonorel {

namespace {

// A device that kept running after a failed reset fills all its buffers within a second.
constexpr int WaitTries = 100;
constexpr DWORD WaitStep = 10; // milliseconds

// List of the buffers that their devices have not returned. Not freed when the library is unloaded.
WaveBuffers* Leaked = nullptr;

void* NewBlock(std::size_t bytes) { return AllocateLocked(GMEM_ZEROINIT | GMEM_SHARE, bytes); }

} // namespace

WaveBuffers::~WaveBuffers() {
    for (WAVEHDR* header : Headers) {
        if (header) FreeLocked(header->lpData);
        FreeLocked(header);
    }
}

bool WaveBuffers::Allocate(std::size_t bytes) {
    for (std::size_t index = 0; index < Count; ++index) {
        auto* header = static_cast<WAVEHDR*>(NewBlock(sizeof(WAVEHDR)));
        if (!header) return false;
        Headers[index] = header;
        header->lpData = static_cast<char*>(NewBlock(bytes));
        if (!header->lpData) return false;
        header->dwBufferLength = static_cast<DWORD>(bytes);
        header->dwUser = index;
    }
    return true;
}

void WaveBuffers::QueueAll(HWAVEIN device) {
    for (WAVEHDR* header : Headers)
        if (Uses[header->dwUser].load(std::memory_order_acquire) == 0) Queue(device, *header);
}

// Counted before the call, since the device can return the buffer before the call returns.
void WaveBuffers::Queue(HWAVEIN device, WAVEHDR& header) {
    std::atomic<int>& uses = Uses[header.dwUser];
    uses.fetch_add(1, std::memory_order_relaxed);
    const bool queued = waveInPrepareHeader(device, &header, sizeof header) == MMSYSERR_NOERROR &&
                        waveInAddBuffer(device, &header, sizeof header) == MMSYSERR_NOERROR;
    if (!queued) uses.fetch_sub(1, std::memory_order_release);
}

void WaveBuffers::BufferReturned(WAVEHDR& header) {
    std::atomic<int>& uses = Uses[header.dwUser];
    {
        const LockScope section(DeliveryLock);
        const bool nested = std::exchange(Delivering, true); // a reset inside a callback calls back
        if (Owner) Deliver(*Owner, header);
        Delivering = nested;
    }
    uses.fetch_sub(1, std::memory_order_release);
}

bool WaveBuffers::AllReturned() const {
    return std::ranges::all_of(
        Uses, [](const auto& uses) { return uses.load(std::memory_order_acquire) == 0; });
}

void WaveBuffers::Reclaim(HWAVEIN device) {
    bool inCallback = false;
    {
        const LockScope section(DeliveryLock);
        inCallback = Delivering;
    }
    for (int tries = 0; tries < WaitTries && !inCallback && !AllReturned(); ++tries)
        Sleep(WaitStep);
    for (WAVEHDR* header : Headers) {
        if (Uses[header->dwUser].load(std::memory_order_acquire) != 0) continue;
        if (header->dwFlags & WHDR_PREPARED) Unprepare(device, *header);
    }
}

void WaveBuffers::Unprepare(HWAVEIN device, WAVEHDR& header) {
    const MMRESULT result = waveInUnprepareHeader(device, &header, sizeof header);
    header.dwFlags &= result == MMSYSERR_NOERROR ? 0 : WHDR_PREPARED;
}

void WaveBuffers::Discard(std::unique_ptr<WaveBuffers> buffers) {
    if (!buffers) return;
    {
        const LockScope section(buffers->DeliveryLock);
        buffers->Owner = nullptr;
    }
    buffers->Next = Leaked;
    Leaked = buffers.release();
    for (WaveBuffers** link = &Leaked; *link;) {
        WaveBuffers* const leaked = *link;
        if (!leaked->AllReturned()) {
            link = &leaked->Next;
            continue;
        }
        *link = leaked->Next;
        delete leaked;
    }
}

} // namespace Sonorel
