// A host that has functions and types of all the system's names itself: the library still reaches
// its own ones, and none of the host's is ever called.
typedef char HWND, HANDLE, DWORD, UINT, BOOL, MMRESULT, HMIDIOUT, HWAVEIN, CRITICAL_SECTION;
#include "engine/zormidi.h"
#include "platform/machine.h"

#include <cstdio>
#include <cstdlib>

#define NAME(name)                                                                                 \
    extern "C" void name() {                                                                       \
        std::fprintf(stderr, "the host's " #name " was called\n");                                 \
        std::abort();                                                                              \
    }
#include "clash_names.inc"

// The note that is played comes back, at a time of this run.
int main() {
    const MIDIEvent note = {20, 0, 0, 2, 0x90, 60, 96};
    const MIDIEvent rest = {60, 0, 0, 0, 0xF8, 1, 0};
    MIDIEvent heard = {0, 0, 0, 0, 0, 0, 0};
    machine::PowerOn();
    machine::Connect(machine::AddMidiOutput("Out"), machine::AddMidiInput("In"), 1);
    if (MIDISysInit(0) != -1 || !ZorAllocMIDI(ZOR_QUEUE_INPUT, 16) ||
        !ZorAllocMIDI(ZOR_QUEUE_OUTPUT, 16) || !ZorStartMIDI(1))
        return std::fprintf(stderr, "MIDI could not be started\n"), 1;
    ZorXmit(ZOR_QUEUE_OUTPUT, &note);
    ZorXmit(ZOR_QUEUE_OUTPUT, &rest);
    const ZorBool played = ZorXmitEmpty(1);
    const int32_t end = ZorTimeMIDI(0);
    const ZorBool back = ZorRcv(&heard, 0);
    ZorStopMIDI();
    MIDISysTerm();
    std::printf("played %d, ended at %d ms, heard %02X %d at %d ms\n", played, end, heard.Status,
                heard.Data1, heard.Time);
    // A clock of the host's would read the time since its computer was switched on.
    return played && back && heard.Status == 0x90 && heard.Data1 == 60 && heard.Time >= 20 &&
                   heard.Time <= end && end >= 60 && end < 600000
               ? 0
               : 1;
}
