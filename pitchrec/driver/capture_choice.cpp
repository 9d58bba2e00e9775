#include "pitchrec/driver/capture_choice.h"

#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"

#include <new>
#include <utility>

using namespace Sonorel;

namespace {

// What the capture is asked for, in frames a second.
constexpr std::int32_t CaptureRate = 22050;

// A closed capture object that is set to a microphone.
struct Capture {
    CaptureClass Class = CaptureClass::None;
    std::unique_ptr<SoundIn> Input; // null: none knows the microphone
    std::unique_ptr<const MicrophoneName> Name;
    bool IsDefault = false; // DirectSound's entry for whatever the system's default is
};

// Both classes have the system's default device first. numberOf: gives the number of the device at
// a place of the list, where that is not the place itself; -1 if it is not there.
bool FindDevice(Capture& capture, const MicrophoneName* microphone,
                std::int32_t (*numberOf)(const TextStringArray&, std::int32_t) = nullptr) {
    TextStringArray names;
    capture.Input->GetDeviceNames(names);
    const std::int32_t place = microphone ? microphone->PlaceIn(names) : 0;
    if (place < 0) return false;
    const std::int32_t listed = numberOf ? numberOf(names, place) : place;
    const std::int32_t device = microphone ? listed : 0;
    if (device < 0) return false;
    capture.Input->SetDevice(device);
    if (names.At(place) && listed == device)
        capture.Name.reset(new (std::nothrow) MicrophoneName(names, place));
    return true;
}

// Opened only to find out whether it can be. After a failure the closing frees what the attempt
// left.
bool Opens(SoundIn& input) {
    const bool opens = input.Open(CaptureRate);
    input.Close();
    return opens;
}

Capture ChooseSoundIn(const MicrophoneName* microphone) {
    auto* const direct = new (std::nothrow) SoundInDx;
    Capture found{CaptureClass::DirectSound, std::unique_ptr<SoundIn>(direct), nullptr, false};
    if (direct && FindDevice(found, microphone)) {
        found.IsDefault = direct->IsDefaultDevice();
        if (Opens(*direct)) return found;
        // An entry of its own in this list only.
        if (found.IsDefault) microphone = nullptr;
    }
    found = {CaptureClass::WaveIn, std::unique_ptr<SoundIn>(new (std::nothrow) SoundInWin), nullptr,
             found.IsDefault};
    if (found.Input && !FindDevice(found, microphone, &SoundInWin::NumberOf)) found.Input.reset();
    return found;
}

} // namespace

OpenMicrophone OpenRecogniser(const MicrophoneName* microphone) {
    Capture capture = ChooseSoundIn(microphone);
    if (!capture.Input) return {};
    std::unique_ptr<PitchRec> made(new (std::nothrow) PitchRecWaveIn(capture.Input.get()));
    if (!made) return {};
    static_cast<void>(capture.Input.release()); // the recogniser's
    if (!made->Open(CaptureRate)) return {};
    return {std::move(made), capture.Class, std::move(capture.Name), capture.IsDefault};
}

void ListMicrophones(CaptureClass capture, TextStringArray& names) {
    names.Clear();
    if (capture == CaptureClass::DirectSound) SoundInDx().GetDeviceNames(names);
    if (capture == CaptureClass::WaveIn) SoundInWin().GetDeviceNames(names);
}
