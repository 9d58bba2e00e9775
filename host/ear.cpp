#include "host/ear.h"

#include "host/host_error.h"
#include "host/names.h"
#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"

#include <cmath>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

constexpr std::int32_t Rate = 22050;

// By DirectSound if the machine has it, else by waveIn.
Sonorel::SoundIn* ChooseCapture() {
    auto direct = std::make_unique<Sonorel::SoundInDx>();
    const bool opens = direct->Open(Rate);
    direct->Close();
    if (opens) return direct.release();
    return new Sonorel::SoundInWin;
}

} // namespace

Ear::Ear() : Recogniser(ChooseCapture()) {
    Recogniser.Input->SetCallback(Hear, this);
    if (!Recogniser.Open(Rate) || !Recogniser.Enable(true)) {
        throw HostError("the microphone cannot be opened");
    }
}

Ear::~Ear() { Recogniser.Enable(false); }

// Thread: the delivering one.
void Ear::Hear(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes, void* self) {
    Ear& ear = *static_cast<Ear*>(self);
    Sonorel::PitchRecWaveIn& recogniser = ear.Recogniser;
    Sonorel::PitchRecWaveIn::ProcessChunk(time, data, bytes, &recogniser);
    std::int32_t ignored = 0;
    while (recogniser.GetNote(&ignored, &ignored, &ignored, &ignored)) {
        // The notes come from the library.
    }
    const std::size_t written = ear.Written.load(std::memory_order_relaxed);
    if (written - ear.Read.load(std::memory_order_acquire) == ear.Ring.size()) return;
    const Sonorel::FrameState& now = recogniser.Now;
    ear.Ring[written % ear.Ring.size()] = {time, now.Amplitude, now.Frequency, now.ActiveNote};
    ear.Written.store(written + 1, std::memory_order_release);
}

void Ear::Take(std::vector<Frame>& frames) {
    std::size_t read = Read.load(std::memory_order_relaxed);
    const std::size_t written = Written.load(std::memory_order_acquire);
    while (read != written) frames.push_back(Ring[read++ % Ring.size()]);
    Read.store(read, std::memory_order_release);
}

std::string PitchText(double frequency) {
    if (frequency <= 0) return {};
    const double exact = 69 + 12 * std::log2(frequency / 440);
    const int note = static_cast<int>(std::lround(exact));
    if (note < 0 || note > 127) return {};
    char text[32];
    std::snprintf(text, sizeof text, "%s %+.0f", NoteName(note).c_str(), (exact - note) * 100);
    return text;
}

} // namespace zorhost
