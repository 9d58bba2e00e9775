// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sound from MIDI messages, by the software synthesizer.
#pragma once

#include "engine/zormidi.h"
#include "platform/machine.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace zorhost {

struct TimedMessage {
    std::int64_t Frame; // from which it applies
    MIDIEvent Event;    // a channel message; its own time is not used
};

// Throws HostError with the reason if it cannot be opened.
std::unique_ptr<machine::Synthesizer> OpenSynthesizer(const machine::SynthesizerSettings& settings,
                                                      int rate);

// Renders messages, in ascending order of Frame, and the decay behind the last one, 20 s at most,
// or until Ctrl-C. receive gets each block of frames. rate: Hz.
void Synthesise(machine::Synthesizer& synthesizer, const std::vector<TimedMessage>& messages,
                int rate, const std::function<void(std::span<const float> frames)>& receive);

} // namespace zorhost
