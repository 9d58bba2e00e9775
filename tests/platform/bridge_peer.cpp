// bridge_peer CABLE [COUNT]: sends so many numbered messages and ends in order. Without COUNT
// prints "ready" and each message that arrives on a line of its own, until it is killed.
#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

void CALLBACK Print(void*, UINT message, DWORD_PTR, DWORD_PTR packed, DWORD_PTR) {
    if (message != MIM_DATA) return;
    std::printf("%lX\n", static_cast<unsigned long>(packed));
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments) {
    machine::AddMidiInput("In");
    machine::AddMidiOutput("Out");
    if (count == 3) {
        HMIDIOUT out = nullptr;
        if (midiOutOpen(&out, 0, 0, 0, 0) || !machine::BridgeOutput(0, arguments[1])) return 2;
        for (DWORD i = 0, n = static_cast<DWORD>(std::atoi(arguments[2])); i < n; ++i)
            midiOutShortMsg(out, 0xF2 | (i & 0x7F) << 8 | (i >> 7 & 0x7F) << 16);
        machine::PowerOn();
        return 0;
    }
    HMIDIIN in = nullptr;
    if (midiInOpen(&in, 0, reinterpret_cast<DWORD_PTR>(&Print), 0, CALLBACK_FUNCTION) ||
        midiInStart(in) || !machine::BridgeInput(0, arguments[1]))
        return 2;
    std::printf("ready\n");
    std::fflush(stdout);
    for (;;) pause();
}
