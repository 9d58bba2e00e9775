// From the recogniser's ring to the receive path, at every expiry of the timer.
#include "engine/driver_table.h"
#include "engine/receive.h"
#include "pitchrec/driver/prec_driver.h"
#include "pitchrec/driver/recogniser_guard.h"

#include <optional>
#include <utility>

namespace {

struct Note {
    std::uint32_t Number; // of the recogniser that heard it
    std::int32_t Time;
    std::int32_t Status;
    std::int32_t Data1;
    std::int32_t Data2;
};

// The one poll at a time, so that notes go on in the order in which they were sung. Another timer
// callback, or one that comes from within an echo's box, leaves at once: what waits is taken by the
// poll under way, or by the next one. Acquired by exchange, released by store.
class OnePoll {
public:
    OnePoll() : Mine(!Polling.exchange(true, std::memory_order_acquire)) {}
    ~OnePoll() {
        if (Mine) Polling.store(false, std::memory_order_release);
    }
    OnePoll(const OnePoll&) = delete;
    OnePoll& operator=(const OnePoll&) = delete;
    explicit operator bool() const { return Mine; }

private:
    static std::atomic<bool> Polling;
    bool Mine;
};
std::atomic<bool> OnePoll::Polling{false};

// The note that met a transmission. It comes before those in the ring, and goes with its recogniser
// as they do. Read and written by the one poll only.
std::optional<Note> Deferred;

// One waiting note. Without one, and while a dialog takes them, it refreshes the meter's level
// instead.
bool TakeNote(Note& note) {
    const RecogniserGuard guard;
    if (!guard || !Recogniser || !Recogniser->IsRunning()) return false;
    const bool mine = PRecDialogs.load(std::memory_order_relaxed) == 0;
    const std::optional<Note> deferred =
        mine ? std::exchange(Deferred, std::nullopt) : std::nullopt;
    if (deferred && deferred->Number == RecogniserNumber) return note = *deferred, true;
    note.Number = RecogniserNumber;
    if (mine && Recogniser->GetNote(&note.Time, &note.Status, &note.Data1, &note.Data2))
        return true;
    PRecLevel.store(Recogniser->GetSignalLevel(), std::memory_order_relaxed);
    return false;
}

} // namespace

// A note that meets a transmission, the host's own for one, comes with the next expiry: were a note
// off lost, the note would sound for ever. Its age is counted then, so its time stays.
void PollPitchRec() {
    const OnePoll poll;
    if (!poll) return;
    for (Note note; TakeNote(note);) {
        MIDIEvent event{};
        // The age of the note: the receive path counts it back from its own now.
        event.Time = static_cast<std::int32_t>(timeGetTime() - static_cast<DWORD>(note.Time));
        event.Channel = static_cast<std::int16_t>(PRecChannel.load(std::memory_order_relaxed));
        event.Length = 2;
        event.Status = static_cast<std::uint8_t>(note.Status);
        event.Data1 = static_cast<std::uint8_t>(note.Data1);
        event.Data2 = static_cast<std::uint8_t>(note.Data2);
        if (!RcvEvent(&event, 1)) {
            Deferred = note;
            return;
        }
    }
}
