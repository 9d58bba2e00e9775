// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What a back end for the software synthesizer offers. The registry loads it when the output is
// opened or a host opens a synthesizer, never before.
//
// Threads. The back end: any; each function may block. Send and the release of a stream: one thread
// at a time.
//
// Real time. Send allocates nothing and waits for nothing: a thread of the back end applies the
// messages.
//
// Failure. No function throws or prints, and neither does the library below.
#pragma once

#include "platform/api/midi.h"
#include "platform/machine/synthesizer.h"

namespace device {

// A synthesizer that sounds on the sound server, until its owner releases it and the last voices
// have decayed. While the server is away it goes on in time, unheard, and reconnects.
class SynthesizerStream {
public:
    // A whole short message. Done, or Full.
    virtual MidiResult Send(std::uint32_t message) = 0;

protected:
    ~SynthesizerStream() = default;
};

class SynthesizerBackEnd {
public:
    virtual ~SynthesizerBackEnd() = default;
    // Null, with the reason in a sentence, after two seconds at most and the time that the font
    // takes. At most one stream exists.
    virtual std::shared_ptr<SynthesizerStream>
    OpenStream(const machine::SynthesizerSettings& settings, std::string& reason) = 0;
    virtual std::unique_ptr<machine::Synthesizer> Load(const machine::SynthesizerSettings& settings,
                                                       double rate, std::string& reason) = 0;
    // As machine::PlayStereo.
    virtual bool PlayStereo(const machine::SynthesizerSettings& settings, double rate,
                            const machine::StereoSource& source, const std::function<bool()>& goOn,
                            std::string& reason) = 0;
};

// ---- for the calls, by the registry ------------------------------------------------------------

// A new output that opens the synthesizer of ReadSynthesizerSettings. Null if the back end or the
// library that it needs is not installed; SynthesizerProblem then returns the reason.
std::shared_ptr<MidiDevice> MakeSynthesizerOutput();

} // namespace device
