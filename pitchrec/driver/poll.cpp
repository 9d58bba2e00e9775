// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Fetches notes from the recogniser and passes them to the receive path, at each timer callback.
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
    std::uint32_t Number; // RecogniserNumber of its recogniser
    std::int32_t Time;    // milliseconds on the timeGetTime clock
    std::int32_t Channel;
    std::int32_t Status;
    std::int32_t Data1;
    std::int32_t Data2;
};

// Allows one poll at a time, so that notes keep their order. A second timer callback, or one from
// within the message box of an echo, returns at once: the running poll or the next one fetches the
// notes. The exchange acquires, the store releases.
class PollGuard {
public:
    PollGuard() : Locked(!Polling.exchange(true, std::memory_order_acquire)) {}
    ~PollGuard() {
        if (Locked) Polling.store(false, std::memory_order_release);
    }
    PollGuard(const PollGuard&) = delete;
    PollGuard& operator=(const PollGuard&) = delete;
    explicit operator bool() const { return Locked; }

private:
    static std::atomic<bool> Polling;
    bool Locked;
};
std::atomic<bool> PollGuard::Polling{false};

// A note that RcvEvent refused because of a transmission. The next poll delivers it before those in
// the ring, and drops it if its recogniser has been closed. Used under PollGuard only.
std::optional<Note> Deferred;

// RecogniserNumber of the held note's recogniser. Used under PollGuard only.
std::uint32_t HeldNumber = 0;

// Updates PRecHeldNote. One value is enough: the recogniser ends a note before it starts the next.
void UpdateHeldNote(const Note& note) {
    const std::int32_t key = note.Channel * 256 + note.Data1;
    if (note.Status == NoteOn) PRecHeldNote.store(key, relaxed), HeldNumber = note.Number;
    if (note.Status == NoteOff) PRecHeldNote.store(NoHeldNote, relaxed);
}

// Makes the note off of a note that still sounds from an earlier recogniser, closed for the dialog.
// Returns false if there is none. Works for the first poll after the change, even if the dialog has
// been closed by then.
bool MakeHeldNoteOff(Note& note) {
    const std::int32_t held = PRecHeldNote.load(relaxed);
    if (held == NoHeldNote || HeldNumber == RecogniserNumber) return false;
    const auto now = static_cast<std::int32_t>(timeGetTime());
    note = {RecogniserNumber, now, held / 256, NoteOff, held % 256, ReleaseVelocity};
    return true;
}

// Fetches the next note. If there is none, or the dialog fetches the notes, updates PRecLevel and
// returns false.
bool FetchNote(Note& note) {
    const RecogniserGuard guard;
    if (!guard) return false;
    if (MakeHeldNoteOff(note)) return true;
    const bool inDialog = PRecInDialog.load(relaxed) != 0;
    if (!Recogniser || !Recogniser->IsRunning()) return false;
    const std::optional<Note> deferred = std::exchange(Deferred, std::nullopt);
    if (!inDialog && deferred && deferred->Number == RecogniserNumber)
        return note = *deferred, true;
    note.Number = RecogniserNumber;
    if (!inDialog && Recogniser->GetNote(&note.Time, &note.Status, &note.Data1, &note.Data2)) {
        note.Channel = PRecChannel.load(relaxed);
        return true;
    }
    PRecLevel.store(Recogniser->GetSignalLevel(), relaxed);
    return false;
}

} // namespace

// A note that RcvEvent refuses, since a transmission is running, is delivered at the next timer
// callback: a lost note off would leave the note sounding. Its age is computed anew then, so its
// time stays right.
void PollPitchRec() {
    const PollGuard guard;
    if (!guard) return;
    for (Note note; FetchNote(note);) {
        MIDIEvent event{};
        // The age of the note in milliseconds; the receive path subtracts it from the current time.
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
        UpdateHeldNote(note);
    }
}
