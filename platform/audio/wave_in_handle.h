// An open waveIn device: the queue of an application's buffers, and the stream that fills them.
#pragma once

#include "platform/audio/capture_device.h"
#include "platform/system/wave.h"

#include <atomic>
#include <mutex>

namespace machine {

// Public functions run on any thread, but for the ones that the system forbids inside a callback.
// The callback runs on the capturing thread with nothing locked; on the caller's inside Close, Stop
// and Reset, which hand buffers back themselves.
class WaveInHandle final : public CaptureOwner, public std::enable_shared_from_this<WaveInHandle> {
public:
    struct Listener {
        void (*Function)(HWAVEIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR); // null: nobody
        DWORD_PTR Instance;
    };
    // claim holds the device.
    WaveInHandle(std::unique_ptr<DeviceClaim> claim, const PcmFormat& format, Listener listener);
    ~WaveInHandle();

    HWAVEIN Handle() { return reinterpret_cast<HWAVEIN>(this); }
    void Tell(UINT message, WAVEHDR* header = nullptr);

    MMRESULT Prepare(WAVEHDR& header);
    MMRESULT Unprepare(WAVEHDR& header);
    MMRESULT Add(WAVEHDR& header);
    MMRESULT Start();
    MMRESULT Stop();
    MMRESULT Reset();
    MMRESULT Position(MMTIME& time);
    // WAVERR_STILLPLAYING while buffers are queued, unless the device is gone.
    MMRESULT MayClose();
    // Ends capturing without handing anything back.
    void Abandon();

private:
    void NoteHeaderCall() const; // before the lock
    void Captured() override;
    bool FillNext(std::uint64_t position); // locked
    void FillPartly(std::uint64_t position);
    WAVEHDR* TakeFilled(); // locked: out of the queue, as a chain
    WAVEHDR* TakeAll();
    void GiveBack(std::unique_lock<std::mutex>& lock, WAVEHDR* chain);
    void EndCapture(bool handBackAll);
    std::uint64_t PositionNow() const; // locked
    std::uint64_t FramesOf(const WAVEHDR& header) const {
        return header.dwBufferLength / frameBytes_;
    }
    bool Starved() const { return next_ == nullptr; }

    const std::unique_ptr<DeviceClaim> claim_;
    const unsigned frameBytes_;
    const PcmFormat format_;
    const Listener listener_;

    std::atomic<int> endings_{0}; // stops and resets under way

    std::mutex lock_; // of all below; never held in the callback
    const std::unique_ptr<CaptureStream> stream_;
    bool started_ = false;
    bool ending_ = false; // a stop or reset is waiting for the callback
    // The queue, linked by lpNext: full buffers that are held back come first, then those to fill.
    WAVEHDR* first_ = nullptr;
    WAVEHDR* last_ = nullptr;
    WAVEHDR* next_ = nullptr;  // the first to fill
    std::uint64_t filled_ = 0; // frames of the stream taken out, by a buffer or lost
    std::uint64_t lost_ = 0;   // of these
    std::uint64_t before_ = 0; // recorded since the last reset, before the present Start
};

// Headers prepared and not unprepared, over all handles.
int PreparedHeaders();
// Headers queued, prepared or unprepared while their handle was being stopped or reset.
int HeaderCallsDuringReset();
void ForgetHeaderCounts();

} // namespace machine
