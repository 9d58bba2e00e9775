// An instrument at the computer's own MIDI: whatever is sent to it, it sends back.
#pragma once

// The machine's devices are the computer's from now on, and the instrument is the only one. False,
// and a word on standard output, where there is no sequencer or it has other devices.
bool PlugNativeWire();
void UnplugNativeWire();
void PlugNativeWireAgain();
