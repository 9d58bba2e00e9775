// What the MIDI back end gives to whoever loads it.
#pragma once

#include "platform/api/midi.h"

namespace machine {

// Finds the computer's MIDI devices, and goes on finding them. Null, and a sentence, if it cannot.
using OpenMidiFunction = MidiFinder*(std::string& reason);

} // namespace machine

extern "C" __attribute__((visibility("default"))) machine::OpenMidiFunction OpenZorMidi;
