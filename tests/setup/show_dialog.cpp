// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// show_dialog midi|mic FOLDER: shows one dialog on the display, for screen-test. The machine has
// several devices and a tone in the microphone; the ini file is in FOLDER. Help prints the dialog's
// number.
#include "engine/zormidi.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdio>
#include <cstring>
#include <string>

int main(int count, char** arguments) {
    if (count != 3) return 2;
    const bool mic = std::strcmp(arguments[1], "mic") == 0;
    machine::SetModulePath(std::string(arguments[2]) + "/libzormidi.so");
    machine::PrintBoxes(true);
    for (const char* name : {"USB Keyboard", "Stage Piano MIDI 1", "Drum Pads"})
        machine::AddMidiInput(name);
    for (const char* name : {"Stage Piano MIDI 1", "Sound Canvas", "Rack Synth A", "R & B @ Home"})
        machine::AddMidiOutput(name);
    const machine::Microphone voice = machine::AddMicrophone({.Name = "Headset Microphone"});
    machine::AddMicrophone({.Name = "Line In"});
    machine::FeedGenerator(voice, [](const machine::FeedRequest& request) {
        for (std::size_t i = 0; i < request.Samples.size(); ++i) {
            // The level rises and falls, so that the meter shows all colours.
            const std::uint64_t frame = request.First + i / request.Channels;
            const float loud = frame / request.Rate % 2 ? 1.0f : 0.8f;
            request.Samples[i] = frame / 100 % 2 ? loud : -loud;
        }
    });
    if (MIDISysInit(0) != -1) return 1;
    void* const parent =
        machine::CreateHostWindow([](unsigned message, std::uintptr_t, std::intptr_t dialog) {
            const auto number = GetWindowLongPtrA(reinterpret_cast<HWND>(dialog), DWLP_USER);
            std::printf("message %u from dialog %d\n", message, static_cast<int>(number));
            std::fflush(stdout);
        });
    ZorConfigMIDIDriver(parent, mic ? 1 : 0);
    MIDISysTerm();
    if (machine::DialogError().empty()) return 0;
    std::fprintf(stderr, "%s\n", machine::DialogError().c_str());
    return 1;
}
