// Shows one dialog on the display, for screen-test: show_dialog midi|mic FOLDER. The machine has
// devices to choose from and a microphone that hears a tone; the ini file lies in the folder. Help
// prints the dialog's number.
#include "engine/zormidi.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <string>

namespace {

// Swells and fades, so that the meter moves, and comes to every colour.
void AddMicrophones() {
    const machine::Microphone voice = machine::AddMicrophone({.Name = "Headset Microphone"});
    machine::AddMicrophone({.Name = "Line In"});
    machine::FeedGenerator(voice, [](const machine::FeedRequest& request) {
        for (std::size_t i = 0; i < request.Samples.size(); ++i) {
            const double t =
                static_cast<double>(request.First + i / request.Channels) / request.Rate;
            const double swell = 0.9 + 0.1 * std::cos(t);
            request.Samples[i] =
                static_cast<float>(swell * std::sin(2 * std::numbers::pi * 220 * t));
        }
    });
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) return 2;
    const bool mic = std::strcmp(arguments[1], "mic") == 0;
    machine::SetModulePath(std::string(arguments[2]) + "/libzormidi.so");
    machine::PrintBoxes(true);
    for (const char* name : {"USB Keyboard", "Stage Piano MIDI 1", "Drum Pads"})
        machine::AddMidiInput(name);
    for (const char* name : {"Stage Piano MIDI 1", "Sound Canvas", "Rack Synth A", "R & B @ Home"})
        machine::AddMidiOutput(name);
    AddMicrophones();
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
