// Choosing the MIDI devices of the machine.
#include "platform/machine/midi.h"
#include "platform/machine/native.h"
#include "platform/api/midi_back_end.h"
#include "platform/registry/shared_object.h"

namespace machine {

std::string UseNativeMidi() {
    ForgetMidiDevices();
    std::string reason;
    const auto open =
        reinterpret_cast<OpenMidiFunction*>(BackEndFunction("alsa", "OpenZorMidi", reason));
    if (!open) return "the part that reaches MIDI devices cannot be loaded: " + reason;
    std::unique_ptr<MidiFinder> finder(open(reason));
    if (!finder) ForgetMidiDevices(); // what it found before it failed
    SetMidiFinder(std::move(finder));
    return reason;
}

std::string UseNative() {
    UseNativeMicrophones();
    return UseNativeMidi();
}

// A host that does not steer gets the computer's devices or, without any means to them, one output
// whose messages come back at one input.
void FindMidiDevices() {
    if (!UseNativeMidi().empty()) Connect(AddMidiOutput("Loopback"), AddMidiInput("Loopback"), 1);
}

} // namespace machine
