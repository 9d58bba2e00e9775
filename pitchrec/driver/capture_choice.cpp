// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/driver/capture_choice.h"

#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"

#include <new>
#include <utility>

using namespace Sonorel;

namespace {

constexpr std::int32_t CaptureRate = 22050; // requested from the capture device, in Hz

// A closed capture object with a microphone selected.
struct Capture {
    CaptureClass Class = CaptureClass::None;
    std::unique_ptr<SoundIn> Input; // null if no class lists the microphone
    std::unique_ptr<const MicrophoneName> Name;
    bool IsDefault = false; // DirectSound's entry for the system's default microphone
};

// Selects the microphone, or the default device, which is number 0 in both classes. numberOf:
// returns the device number for an index of the list, -1 if there is none; null where the two are
// equal. Returns false if the microphone is not listed.
bool SelectDevice(Capture& capture, const MicrophoneName* microphone,
                  std::int32_t (*numberOf)(const TextStringArray&, std::int32_t) = nullptr) {
    TextStringArray names;
    capture.Input->GetDeviceNames(names);
    const std::int32_t index = microphone ? microphone->IndexIn(names) : 0;
    if (index < 0) return false;
    const std::int32_t listed = numberOf ? numberOf(names, index) : index;
    const std::int32_t device = microphone ? listed : 0;
    if (device < 0) return false;
    capture.Input->SetDevice(device);
    if (names.At(index) && listed == device)
        capture.Name.reset(new (std::nothrow) MicrophoneName(names, index));
    return true;
}

// Opens the device and closes it again. After a failure, closing frees what the attempt allocated.
bool CanOpen(SoundIn& input) {
    const bool opened = input.Open(CaptureRate);
    input.Close();
    return opened;
}

Capture ChooseSoundIn(const MicrophoneName* microphone) {
    auto* const direct = new (std::nothrow) SoundInDx;
    Capture found{CaptureClass::DirectSound, std::unique_ptr<SoundIn>(direct), nullptr, false};
    if (direct && SelectDevice(found, microphone)) {
        found.IsDefault = direct->IsDefaultDevice();
        if (CanOpen(*direct)) return found;
        // waveIn has no such entry, so select its default device.
        if (found.IsDefault) microphone = nullptr;
    }
    found = {CaptureClass::WaveIn, std::unique_ptr<SoundIn>(new (std::nothrow) SoundInWin), nullptr,
             found.IsDefault};
    if (found.Input && !SelectDevice(found, microphone, &SoundInWin::DeviceNumber))
        found.Input.reset();
    return found;
}

} // namespace

OpenMicrophone OpenRecogniser(const MicrophoneName* microphone) {
    Capture capture = ChooseSoundIn(microphone);
    if (!capture.Input) return {};
    std::unique_ptr<PitchRec> recogniser(new (std::nothrow) PitchRecWaveIn(capture.Input.get()));
    if (!recogniser) return {};
    static_cast<void>(capture.Input.release()); // the recogniser owns it now
    if (!recogniser->Open(CaptureRate)) return {};
    return {std::move(recogniser), capture.Class, std::move(capture.Name), capture.IsDefault};
}

void ListMicrophones(CaptureClass capture, TextStringArray& names) {
    names.Clear();
    if (capture == CaptureClass::DirectSound) SoundInDx().GetDeviceNames(names);
    if (capture == CaptureClass::WaveIn) SoundInWin().GetDeviceNames(names);
}
