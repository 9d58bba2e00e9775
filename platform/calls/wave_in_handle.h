// An open waveIn device: the queue of an application's buffers, and the stream that fills them.
#pragma once

#include "platform/device/capture.h"
#include "platform/system/wave.h"

#include <atomic>
#include <mutex>

namespace machine {

// Headers in order, linked by lpNext.
class HeaderQueue {
public:
    WAVEHDR* First() const { return Head; }
    void Add(WAVEHDR& header) {
        header.lpNext = nullptr;
        (Head != nullptr ? Tail->lpNext : Head) = &header;
        Tail = &header;
    }
    WAVEHDR* TakeFirst() {
        WAVEHDR* const header = Head;
        if (header != nullptr) Head = header->lpNext;
        return header;
    }

private:
    WAVEHDR* Head = nullptr;
    WAVEHDR* Tail = nullptr;
};

// Public functions run on any thread, but for the ones that the system forbids inside a callback.
// The callback runs on the capturing thread with nothing locked; on the caller's inside Close, Stop
// and Reset, which hand buffers back themselves.
class WaveInHandle final : public CaptureOwner, public std::enable_shared_from_this<WaveInHandle> {
public:
    struct Listener {
        void (*Function)(HWAVEIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR); // null: nobody
        DWORD_PTR Instance;
    };
    WaveInHandle(CaptureDevice& device, const PcmFormat& format, Listener listener);
    ~WaveInHandle() { Abandon(); }

    // False: the device is not to be had. Every other function needs it.
    bool IsOpen() const { return Stream != nullptr; }
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
    WAVEHDR* TakeFilled(std::uint64_t position); // locked, as the next two
    WAVEHDR* FillFirst(std::uint64_t position);
    std::uint64_t PositionNow() const;
    void GiveBack(std::unique_lock<std::mutex>& lock, WAVEHDR* header);
    void EndCapture(bool handBackAll);
    std::uint64_t EndOfFirst() const { // frame of the stream
        return Filled + Queue.First()->dwBufferLength / FrameBytes;
    }

    const PcmFormat Format;
    const unsigned FrameBytes;
    const Listener Client;

    std::atomic<int> Endings{0}; // stops and resets under way

    std::mutex Lock; // of all below; never held in the callback
    const std::unique_ptr<CaptureStream> Stream;
    bool Started = false;
    bool Ending = false;      // a stop or reset is waiting for the callback
    HeaderQueue Queue;        // to be filled
    std::uint64_t Filled = 0; // frames of the stream taken out, by a buffer or lost
    std::uint64_t Lost = 0;   // of these
    std::uint64_t Before = 0; // recorded since the last reset, before the present Start
};

void ForgetHeaderCounts();

} // namespace machine
