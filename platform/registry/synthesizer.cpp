// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The output of the synthesizer, and the back end behind it.
#include "platform/api/synthesizer_back_end.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/power.h"
#include "platform/registry/back_ends.h"
#include "platform/registry/shared_object.h"

#include <mutex>

namespace device {
namespace {

struct State {
    std::mutex BackEndLock;                // of the back end, for which one call is made at a time
    SynthesizerBackEnd* BackEnd = nullptr; // loaded when first needed, for the life of the process
    std::mutex Lock;                       // of the next
    std::string Problem;
};
State& SynthesizerState() { return common::ImmortalSingleton<State>(); }

void SetProblem(const std::string& problem) {
    const std::scoped_lock lock(SynthesizerState().Lock);
    SynthesizerState().Problem = problem;
}

const machine::AtPowerOn atPowerOn([] { SetProblem(""); });

// Calls operation with the back end. Null, with the reason, if that cannot be loaded or returns
// null.
template <class Operation>
auto WithBackEnd(std::string& reason, Operation operation) {
    const std::scoped_lock lock(SynthesizerState().BackEndLock);
    SynthesizerBackEnd*& backEnd = SynthesizerState().BackEnd;
    if (!backEnd) backEnd = OpenBackEnd<OpenSynthesizerFunction>(BackEndKind::Synthesizer, reason);
    return backEnd ? operation(*backEnd) : decltype(operation(*backEnd)){};
}

class SynthesizerOutput final : public MidiDevice {
public:
    SynthesizerOutput()
        : MidiDevice(MidiDirection::Output, machine::SynthesizerName, machine::SynthesizerName) {}
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override;
    void Close() override;
    MidiResult Send(std::uint32_t message) override { return Stream->Send(message); }

private:
    std::shared_ptr<SynthesizerStream> Stream; // null while closed
};

MidiResult SynthesizerOutput::Open(const std::shared_ptr<MidiReceiver>&) {
    std::string reason;
    Stream = WithBackEnd(reason, [&reason](SynthesizerBackEnd& backEnd) {
        return backEnd.OpenStream(machine::ReadSynthesizerSettings(), reason);
    });
    SetProblem(reason);
    return Stream ? MidiResult::Done : MidiResult::NoSound;
}

void SynthesizerOutput::Close() { Stream.reset(); }

} // namespace

std::shared_ptr<MidiDevice> MakeSynthesizerOutput() {
    std::string reason;
    for (const BackEnd& each : BackEnds)
        if (each.Kind == BackEndKind::Synthesizer && CanLoad(each, reason)) {
            SetProblem("");
            return std::make_shared<SynthesizerOutput>();
        }
    SetProblem(reason);
    return nullptr;
}

} // namespace device

namespace machine {

using namespace device;

std::string SynthesizerProblem() {
    const std::scoped_lock lock(SynthesizerState().Lock);
    return SynthesizerState().Problem;
}

std::unique_ptr<Synthesizer> OpenSynthesizer(const SynthesizerSettings& settings, double rate,
                                             std::string& reason) {
    return WithBackEnd(
        reason, [&](SynthesizerBackEnd& backEnd) { return backEnd.Load(settings, rate, reason); });
}

bool PlayStereo(const SynthesizerSettings& settings, double rate, const StereoSource& source,
                const std::function<bool()>& goOn, std::string& reason) {
    // Called without the lock, since it takes as long as the sound.
    SynthesizerBackEnd* const backEnd =
        WithBackEnd(reason, [](SynthesizerBackEnd& loaded) { return &loaded; });
    return backEnd && backEnd->PlayStereo(settings, rate, source, goOn, reason);
}

} // namespace machine
