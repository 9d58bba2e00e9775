#include "soundin/wave_buffers.h"

#include "soundin/sound_in_win.h"
#include "support/locked_memory.h"

#include <algorithm>
#include <utility>

namespace Sonorel {

namespace {

// A device that went on through a failed reset has filled all its buffers within a second.
constexpr int WaitTries = 100;
constexpr DWORD WaitStep = 10; // milliseconds

// Those that a device would not give back when its owner was done. Not freed with the module
// either.
WaveBuffers* Kept = nullptr;

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

void WaveBuffers::LendAll(HWAVEIN device) {
    for (WAVEHDR* header : Headers)
        if (Uses[header->dwUser].load(std::memory_order_acquire) == 0) Lend(device, *header);
}

// Counted before the device has it, since it may be back before the call is.
void WaveBuffers::Lend(HWAVEIN device, WAVEHDR& header) {
    std::atomic<int>& uses = Uses[header.dwUser];
    uses.fetch_add(1, std::memory_order_relaxed);
    const bool lent = waveInPrepareHeader(device, &header, sizeof header) == MMSYSERR_NOERROR &&
                      waveInAddBuffer(device, &header, sizeof header) == MMSYSERR_NOERROR;
    if (!lent) uses.fetch_sub(1, std::memory_order_release);
}

void WaveBuffers::CameBack(WAVEHDR& header) {
    std::atomic<int>& uses = Uses[header.dwUser];
    {
        const LockScope section(Delivery);
        const bool within = std::exchange(Delivering, true); // a reset in a callback calls back
        if (Owner) Owner->Deliver(header);
        Delivering = within;
    }
    uses.fetch_sub(1, std::memory_order_release);
}

bool WaveBuffers::AllBack() const {
    return std::ranges::all_of(
        Uses, [](const auto& uses) { return uses.load(std::memory_order_acquire) == 0; });
}

void WaveBuffers::TakeBack(HWAVEIN device) {
    bool within = false;
    {
        const LockScope section(Delivery);
        within = Delivering;
    }
    for (int tries = 0; tries < WaitTries && !within && !AllBack(); ++tries) Sleep(WaitStep);
    for (WAVEHDR* header : Headers) {
        if (Uses[header->dwUser].load(std::memory_order_acquire) != 0) continue;
        if (header->dwFlags & WHDR_PREPARED) SoundInWin::Unprepare(device, *header);
    }
}

void WaveBuffers::Discard(std::unique_ptr<WaveBuffers> buffers) {
    if (!buffers) return;
    {
        const LockScope section(buffers->Delivery);
        buffers->Owner = nullptr;
    }
    buffers->Next = Kept;
    Kept = buffers.release();
    for (WaveBuffers** place = &Kept; *place;) {
        WaveBuffers* const kept = *place;
        if (!kept->AllBack()) {
            place = &kept->Next;
            continue;
        }
        *place = kept->Next;
        delete kept;
    }
}

} // namespace Sonorel
