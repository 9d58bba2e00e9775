// The other end of a cable between processes, driven by its standard input: a line "send HEX" sends
// a message, "burst N" sends N numbered ones, "quit" ends in order and "die" at once. Prints
// "ready", and each message that arrives on a line of its own.
#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

void CALLBACK Print(void*, UINT message, DWORD_PTR, DWORD_PTR packed, DWORD_PTR) {
    if (message != MIM_DATA) return;
    std::printf("%lX\n", static_cast<unsigned long>(packed));
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) return 2;
    machine::AddMidiInput("In");
    machine::AddMidiOutput("Out");
    HMIDIIN in = nullptr;
    HMIDIOUT out = nullptr;
    if (midiInOpen(&in, 0, reinterpret_cast<DWORD_PTR>(&Print), 0, CALLBACK_FUNCTION) ||
        midiInStart(in) || midiOutOpen(&out, 0, 0, 0, 0))
        return 2;
    const std::string cable = arguments[1];
    if (!machine::BridgeInput(0, cable + " to peer") ||
        !machine::BridgeOutput(0, cable + " from peer"))
        return 3;
    std::printf("ready\n");
    std::fflush(stdout);
    for (std::string line; std::getline(std::cin, line);) {
        if (line.starts_with("send "))
            midiOutShortMsg(out, static_cast<DWORD>(std::stoul(line.substr(5), nullptr, 16)));
        if (line.starts_with("burst "))
            for (DWORD i = 0, n = static_cast<DWORD>(std::stoul(line.substr(6))); i < n; ++i)
                midiOutShortMsg(out, 0xF2 | (i & 0x7F) << 8 | (i >> 7 & 0x7F) << 16);
        if (line == "quit") break;
        if (line == "die") std::_Exit(0);
    }
    machine::PowerOn();
    return 0;
}
