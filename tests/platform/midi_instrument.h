// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The instruments of the contract suite (midi_contract_test.cpp): for each MIDI back end one output
// and one input, where what is sent to the output arrives at the input.
#pragma once

struct MidiInstrument {
    const char* BackEnd; // its name in registry/back_ends.h, or "memory"
    bool (*Plug)();      // false, with the reason on standard output, if this computer has none
    void (*Unplug)();
    void (*PlugAgain)();
};

// A program at ALSA's sequencer that sends back what it receives, as the machine's only device.
extern const MidiInstrument AlsaInstrument;
