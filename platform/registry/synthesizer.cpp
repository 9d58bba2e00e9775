// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The output of the synthesizer, and the back end behind it.
#include "platform/api/synthesizer_back_end.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/power.h"
#include "platform/registry/back_ends.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace device {
namespace {

struct State {
    std::mutex Lock;
    std::string Problem;
};
State& SynthesizerState() { return common::ImmortalSingleton<State>(); }

void SetProblem(const std::string& problem) {
    const std::scoped_lock lock(SynthesizerState().Lock);
    SynthesizerState().Problem = problem;
}

const machine::AtPowerOn atPowerOn([] { SetProblem(""); });

// Opened when first needed, and tried anew while that fails.
SynthesizerBackEnd* OpenedBackEnd(std::string& reason) {
    static std::atomic<SynthesizerBackEnd*> opened{nullptr};
    if (!opened) opened = OpenBackEnd<OpenSynthesizerFunction>(BackEndKind::Synthesizer, reason);
    return opened;
}

class SynthesizerOutput final : public MidiDevice {
public:
    SynthesizerOutput()
        : MidiDevice(MidiDirection::Output, machine::SynthesizerName, machine::SynthesizerName) {}
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override {
        std::string reason;
        if (SynthesizerBackEnd* const backEnd = OpenedBackEnd(reason))
            Stream = backEnd->OpenStream(machine::ReadSynthesizerSettings(), reason);
        SetProblem(reason);
        return Stream ? MidiResult::Done : MidiResult::NoSound;
    }
    void Close() override { Stream.reset(); }
    MidiResult Send(std::uint32_t message) override { return Stream->Send(message); }

private:
    std::shared_ptr<SynthesizerStream> Stream; // null while closed
};

} // namespace

std::shared_ptr<MidiDevice> MakeSynthesizerOutput() {
    std::string reason;
    const bool canLoad = std::ranges::any_of(BackEnds, [&reason](const BackEnd& each) {
        return each.Kind == BackEndKind::Synthesizer && CanLoad(each, reason);
    });
    SetProblem(canLoad ? "" : reason);
    return canLoad ? std::make_shared<SynthesizerOutput>() : nullptr;
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
    SynthesizerBackEnd* const backEnd = OpenedBackEnd(reason);
    return backEnd ? backEnd->Load(settings, rate, reason) : nullptr;
}

bool PlayStereo(const SynthesizerSettings& settings, double rate, const StereoSource& source,
                const std::function<bool()>& goOn, std::string& reason) {
    SynthesizerBackEnd* const backEnd = OpenedBackEnd(reason);
    return backEnd && backEnd->PlayStereo(settings, rate, source, goOn, reason);
}

} // namespace machine
