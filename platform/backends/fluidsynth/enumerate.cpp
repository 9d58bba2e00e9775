// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The entry point, and the one stream on the sound server.
#include "platform/api/synthesizer_back_end.h"
#include "platform/backends/fluidsynth/connection.h"

namespace device {
namespace {

using namespace std::chrono_literals;

constexpr auto MaxDecayAtExit = 5s;

// Keeps the connection of a closed stream for the next one, since it has loaded the font.
class BackEnd final : public SynthesizerBackEnd {
public:
    std::shared_ptr<SynthesizerStream> OpenStream(const machine::SynthesizerSettings& settings,
                                                  std::string& reason) override {
        const std::scoped_lock lock(Lock);
        if (Connection && Connection->Wanted != settings)
            std::exchange(Connection, nullptr)->Retire();
        if (!Connection) Connection = std::make_shared<SoundConnection>(settings);
        if (!Connection->Open(reason)) return nullptr;
        return {Connection.get(), [open = Connection](void*) { open->Close(); }};
    }

    std::unique_ptr<machine::Synthesizer> Load(const machine::SynthesizerSettings& settings,
                                               double rate, std::string& reason) override {
        const std::scoped_lock lock(Lock);
        return FluidSynth::Load(settings, rate, reason);
    }

    bool PlayStereo(const machine::SynthesizerSettings& settings, double rate,
                    const machine::StereoSource& source, const std::function<bool()>& goOn,
                    std::string& reason) override {
        return device::PlayStereo(settings, rate, source, goOn, reason);
    }

    void AwaitDecay() {
        if (Connection) Connection->AwaitDecay(MaxDecayAtExit);
    }

private:
    std::mutex Lock; // held by one call at a time that may load a font
    std::shared_ptr<SoundConnection> Connection;
};

// A program that ends waits here until what it has played has decayed.
struct Exit {
    BackEnd& Opened = *new BackEnd;
    ~Exit() { Opened.AwaitDecay(); }
};

} // namespace
} // namespace device

device::SynthesizerBackEnd* OpenZorSynthesizer(std::string& /*reason*/) {
    static const device::Exit exit;
    return &exit.Opened;
}
