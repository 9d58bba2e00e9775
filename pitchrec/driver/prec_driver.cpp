// The driver's life: settings, and one recogniser built anew by each Open.
#include "pitchrec/driver/prec_driver.h"

#include "engine/driver_table.h"
#include "pitchrec/driver/listening.h"

#include <utility>

Sonorel::PitchRec* Recogniser = nullptr;
std::atomic<std::int32_t> PRecLevel{0};
std::atomic<std::uint8_t> PRecInDialog{0};

namespace {

bool PRecInited = false;

} // namespace

std::uint16_t PRecInit() {
    if (PRecInited) return DriverSuccess;
    ReadPRecSettings();
    PRecInited = true;
    return DriverSuccess;
}

std::uint8_t PRecTerm() {
    PRecInited = false;
    return 1;
}

// Each box may bring another Open or Close, which then has decided. Gives whether the row is open.
std::uint8_t PRecOpen() {
    const Turn turn;
    StopListening(); // the engine opens a row that is closed
    OpenMicrophone made = OpenOnChoice(turn);
    if (made.Recogniser) {
        StartListening(std::move(made), EnablePitchRec != 0 || PRecInDialog != 0);
        TellOfMissingMicrophone();
    } else if (turn.IsLast()) {
        MessageBoxA(nullptr, "Error initializing Pitch Recognition", "Testing",
                    MB_ICONEXCLAMATION | MB_OK);
    }
    return Recogniser != nullptr;
}

// Notes still in the ring go with it, and a held note gets no end unless it closes for its dialog.
std::uint8_t PRecClose() {
    const Turn turn;
    StopListening();
    return 1;
}

// A microphone has no output, nothing to follow and nothing to silence.
std::uint8_t PRecXmit(const MIDIEvent*) { return 1; }
void PRecSync(std::int16_t) {}
std::uint8_t PRecSilence() { return 1; }

std::uint8_t PRecReady() { return EnablePitchRec; }
