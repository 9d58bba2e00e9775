// The computer's own devices in place of the virtual ones. Thread: the one that steers; the library
// must be closed.
#pragma once

#include <string>

namespace machine {

// Forgets the MIDI devices there are, and finds those of this computer, from now on also as they
// are plugged in and pulled out, until PowerOn. Gives nothing if they could be asked for, also if
// there is none now, or else a sentence that says why there are none.
std::string UseNativeMidi();

} // namespace machine
