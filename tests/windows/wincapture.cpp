// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Captures through both classes from the system's own devices, also while the microphone is removed
// and restored. Needs a microphone with a tone, and a controlling process that removes it for the
// line "pull", restores it for "put", and answers each with a line. Exit code 0: both captured the
// tone.
#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"
#include "support/text_string_array.h"
#include "tests/windows/never_began.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace {

// Written on the delivery thread; read after Stop.
struct Captured {
    std::atomic<int> Blocks{0};
    std::uint32_t FirstTime = 0, LastTime = 0;
    int Lowest = 255;
    int Highest = 0;
    bool InThePast = true;
    bool FullBlocks = true;
    std::int32_t BytesPerBlock = 0;

    static void Receive(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount,
                        void* context) {
        auto& self = *static_cast<Captured*>(context);
        // Stamps are compared with the clock only, not with each other: after a delay the server
        // delivers several blocks at once, stamped by their arrival.
        const auto age = static_cast<std::int32_t>(timeGetTime() - time);
        self.InThePast = self.InThePast && age >= 0;
        if (self.Blocks == 0) self.FirstTime = time;
        self.FullBlocks = self.FullBlocks && byteCount == self.BytesPerBlock;
        self.LastTime = time;
        for (std::int32_t at = 0; at < byteCount; ++at) {
            self.Lowest = std::min(self.Lowest, int{data[at]});
            self.Highest = std::max(self.Highest, int{data[at]});
        }
        ++self.Blocks;
    }
};

void Request(const char* what) {
    std::printf("%s\n", what);
    std::fflush(stdout);
    std::getchar();
}

int retries = 2; // for captures that the system did not start

// dx: the same object if it captures by DirectSound, else null. pullOut: removes the microphone
// after the first blocks, and restores it when the capture is closed.
bool CaptureTone(Sonorel::SoundIn& input, Sonorel::SoundInDx* dx, bool pullOut) {
    Captured captured;
    input.SetCallback(&Captured::Receive, &captured);
    if (!input.Open(22050)) {
        std::printf("  cannot be opened\n");
        input.Close();
        return false;
    }
    captured.BytesPerBlock = input.BytesPerBlock;
    input.Start();
    // A sound server may start slowly, and a busy computer loses blocks.
    for (int wait = 0; wait < 1200 && captured.Blocks < 40; ++wait) {
        Sleep(50);
        if (!dx || wait < 60 || captured.Blocks > 0 || !neverBegan(dx->CaptureBuffer)) continue;
        input.Close();
        std::printf("  the system did not start the capture\n");
        return --retries >= 0 && CaptureTone(input, dx, pullOut);
    }
    if (pullOut) {
        Request("pull");
        Sleep(500); // until the system has noticed
    }
    input.Stop();
    input.Close();
    if (pullOut) Request("put");
    const auto span = static_cast<std::int32_t>(captured.LastTime - captured.FirstTime);
    std::printf("  %d blocks from %d to %d, stamped over %d ms%s%s\n", captured.Blocks.load(),
                captured.Lowest, captured.Highest, static_cast<int>(span),
                captured.InThePast ? "" : ", some in the future",
                captured.FullBlocks ? "" : ", some cut");
    return captured.Blocks >= 40 && span > 0 && captured.InThePast && captured.FullBlocks &&
           captured.Lowest <= 100 && captured.Highest >= 156;
}

bool Capture(Sonorel::SoundIn& input, Sonorel::SoundInDx* dx, const char* name) {
    Sonorel::TextStringArray devices;
    std::printf("%s: %d devices", name, static_cast<int>(input.GetDeviceNames(devices)));
    for (std::int32_t index = 0; index < devices.Count; ++index)
        std::printf(", %s", devices.At(index)->Text());
    std::printf("\n");
    // Opens the device again each time.
    return CaptureTone(input, dx, false) && CaptureTone(input, dx, true) &&
           CaptureTone(input, dx, false);
}

} // namespace

int main() {
    Sonorel::SoundInDx dx;
    Sonorel::SoundInWin win;
    const bool dxCaptures = Capture(dx, &dx, "DirectSound");
    const bool winCaptures = Capture(win, nullptr, "waveIn");
    return dxCaptures && winCaptures ? 0 : 1;
}
