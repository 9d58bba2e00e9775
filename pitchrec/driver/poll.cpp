// From the recogniser's ring to the receive path, at every expiry of the timer.
#include "engine/driver_table.h"
#include "engine/receive.h"
#include "pitchrec/driver/prec_driver.h"
#include "pitchrec/driver/recogniser_guard.h"

#include <optional>
#include <utility>

std::atomic<std::int32_t> PRecHeldNote{NoHeldNote};

namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr std::int32_t NoteOff = 0x80, NoteOn = 0x90, ReleaseVelocity = 0x40;

struct Note {
    std::uint32_t Number; // of the recogniser that heard it
    std::int32_t Time;    // on the timeGetTime clock
    std::int32_t Channel;
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

// Which recogniser heard the held note. Read and written by the one poll only.
std::uint32_t HeldNumber = 0;

// There is one at a time: the recogniser ends a note before it begins the next.
void FollowHeldNote(const Note& note) {
    const std::int32_t key = note.Channel * 256 + note.Data1;
    if (note.Status == NoteOn) PRecHeldNote.store(key, relaxed), HeldNumber = note.Number;
    if (note.Status == NoteOff) PRecHeldNote.store(NoHeldNote, relaxed);
}

// The end of the note that was held when the dialog took over. False if there was none. No poll need
// come while the dialog is up: the next one ends the note.
bool EndHeldNote(Note& note) {
    const std::int32_t held = PRecHeldNote.load(relaxed);
    if (held == NoHeldNote || HeldNumber == RecogniserNumber) return false;
    const auto now = static_cast<std::int32_t>(timeGetTime());
    note = {RecogniserNumber, now, held / 256, NoteOff, held % 256, ReleaseVelocity};
    return true;
}

// One waiting note. Without one, and while they are the dialog's, it refreshes the meter's level
// instead.
bool TakeNote(Note& note) {
    const RecogniserGuard guard;
    if (!guard) return false;
    if (EndHeldNote(note)) return true;
    const bool inDialog = PRecInDialog.load(relaxed) != 0;
    if (!Recogniser || !Recogniser->IsRunning()) return false;
    const std::optional<Note> deferred = std::exchange(Deferred, std::nullopt);
    if (!inDialog && deferred && deferred->Number == RecogniserNumber) return note = *deferred, true;
    note.Number = RecogniserNumber;
    if (!inDialog && Recogniser->GetNote(&note.Time, &note.Status, &note.Data1, &note.Data2)) {
        note.Channel = PRecChannel.load(relaxed);
        return true;
    }
    PRecLevel.store(Recogniser->GetSignalLevel(), relaxed);
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
        event.Channel = static_cast<std::int16_t>(note.Channel);
        event.Length = 2;
        event.Status = static_cast<std::uint8_t>(note.Status);
        event.Data1 = static_cast<std::uint8_t>(note.Data1);
        event.Data2 = static_cast<std::uint8_t>(note.Data2);
        if (!RcvEvent(&event, 1)) {
            Deferred = note;
            return;
        }
        FollowHeldNote(note);
    }
}
