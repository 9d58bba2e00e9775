// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The notes of a recording beside the recording, to check them by ear.
#pragma once

#include "engine/zormidi.h"
#include "host/sound/sound_file.h"
#include "host/sound/stereo_sound.h"
#include "platform/machine.h"

#include <vector>

namespace zorhost {

// Left the recording, right the records, played by a flute of the synthesizer, which renders at the
// recording's rate. peak: of the recording, for its level; 1 is full scale. records: note ons, note
// offs and bends, with times in milliseconds. tuning: of the recording, in semitones above 440 Hz,
// unless the records have bends. Throws HostError.
StereoSound PlayBeside(SoundFile& recording, double peak, const std::vector<MIDIEvent>& records,
                       double tuning, machine::Synthesizer& synthesizer);

// Plays it on the sound server until its end or Ctrl-C. Throws HostError.
void PlayAloud(StereoSound& sound, const machine::SynthesizerSettings& settings);

} // namespace zorhost
