#include "pitchrec/driver/listening.h"

#include "engine/driver_table.h"
#include "pitchrec/driver/capture_choice.h"
#include "pitchrec/driver/microphone_name.h"
#include "pitchrec/driver/prec_driver.h"
#include "pitchrec/driver/recogniser_guard.h"
#include "support/error_box.h"

#include <new>
#include <utility>

using namespace Sonorel;

std::uint32_t Turn::Latest = 0;

namespace {

// Null: none yet, so the default one.
std::unique_ptr<const MicrophoneName> Chosen;

// The chosen one is not heard. Told: the user knows.
bool Missing = false;
bool Told = false;

// Notes decided by two frames that agree; no attacks, no bends.
void UsePlainNotes(PitchRec& recogniser) {
    recogniser.SetTrackingMode(false);
    recogniser.SetAttackDetect(false, 0);
    recogniser.SetPitchBendOutput(false);
}

std::unique_ptr<const MicrophoneName> NameOf(PitchRec& recogniser, std::int32_t device) {
    TextStringArray names;
    recogniser.GetDeviceNames(names);
    if (!names.At(device)) return nullptr;
    return std::unique_ptr<const MicrophoneName>(new (std::nothrow) MicrophoneName(names, device));
}

} // namespace

std::unique_ptr<PitchRec> OpenOnChoice(const Turn& turn) {
    std::unique_ptr<PitchRec> made = OpenRecogniser(Chosen.get());
    if (!turn.IsLast()) return nullptr;
    Missing = Chosen && !made;
    if (!Missing) Told = false;
    if (Missing) made = OpenRecogniser(nullptr);
    return turn.IsLast() ? std::move(made) : nullptr;
}

void TellOfMissingMicrophone() {
    if (!Missing || Told) return;
    Told = true;
    TextString text("The microphone you chose cannot be used just now:\n\n");
    text.Append(Chosen->Text());
    text.Append("\n\nUntil it is back the system's default microphone is used in its place.");
    ShowErrorBox(text, TextString("Pitch Recognition"), MB_ICONEXCLAMATION);
}

bool ChoosePRecDevice(std::int32_t device) {
    if (!Recogniser) return false;
    std::unique_ptr<const MicrophoneName> wanted = NameOf(*Recogniser, device);
    if (!wanted) return false;
    const Turn turn;
    const bool on = Recogniser->IsRunning();
    // First, since the two may be one device under two names.
    StopListening();
    std::unique_ptr<PitchRec> made = OpenRecogniser(wanted.get());
    if (!turn.IsLast()) return false;
    const bool chosen = made != nullptr;
    if (chosen) {
        Chosen = std::move(wanted);
        Missing = Told = false;
    } else {
        made = OpenOnChoice(turn);
    }
    if (made) StartListening(std::move(made), on);
    return chosen;
}

void StartListening(std::unique_ptr<PitchRec> recogniser, bool on) {
    PitchRec& started = *recogniser;
    delete SetRecogniser(recogniser.release());
    started.Enable(on);
    UsePlainNotes(started);
}

void StopListening() {
    // From here on no poll can see it, so it may be taken apart while the timer runs.
    const std::unique_ptr<PitchRec> closing(SetRecogniser(nullptr));
    if (!PRecInDialog) PRecHeldNote = NoHeldNote;
    if (!closing) return;
    closing->Enable(false);
    UsePlainNotes(*closing);
}
