#include "pitchrec/driver/capture_choice.h"

#include "pitchrec/driver/microphone_name.h"
#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"

#include <new>

using namespace Sonorel;

namespace {

// What the capture is asked for, in frames a second.
constexpr std::int32_t CaptureRate = 22050;

// Both classes have the system's default device first. numberOf: gives the number of the device at
// a place of the list, where that is not the place itself; -1 if it is not there.
bool FindDevice(SoundIn& input, const MicrophoneName* microphone,
                std::int32_t (*numberOf)(const TextStringArray&, std::int32_t) = nullptr) {
    std::int32_t device = 0;
    if (microphone) {
        TextStringArray names;
        input.GetDeviceNames(names);
        device = microphone->PlaceIn(names);
        if (numberOf) device = numberOf(names, device);
    }
    if (device < 0) return false;
    input.SetDevice(device);
    return true;
}

// Opened only to find out whether it can be. After a failure the closing frees what the attempt
// left.
bool Opens(SoundIn& input) {
    const bool opens = input.Open(CaptureRate);
    input.Close();
    return opens;
}

// A closed capture object that is set to the microphone.
std::unique_ptr<SoundIn> ChooseSoundIn(const MicrophoneName* microphone) {
    if (std::unique_ptr<SoundInDx> direct(new (std::nothrow) SoundInDx);
        direct && FindDevice(*direct, microphone)) {
        if (Opens(*direct)) return direct;
        // An entry of its own in this list only.
        if (direct->IsDefaultDevice()) microphone = nullptr;
    }
    std::unique_ptr<SoundIn> wave(new (std::nothrow) SoundInWin);
    if (wave && !FindDevice(*wave, microphone, &SoundInWin::NumberOf)) wave.reset();
    return wave;
}

} // namespace

std::unique_ptr<PitchRec> OpenRecogniser(const MicrophoneName* microphone) {
    std::unique_ptr<SoundIn> input = ChooseSoundIn(microphone);
    if (!input) return nullptr;
    std::unique_ptr<PitchRec> made(new (std::nothrow) PitchRecWaveIn(input.get()));
    if (!made) return nullptr;
    static_cast<void>(input.release()); // the recogniser's
    if (!made->Open(CaptureRate)) made.reset();
    return made;
}
