// Cables between the machines of different processes: what one program sends to a bridged output
// arrives at the bridged inputs of others, without hardware.
//
// A cable has a name. Any number of outputs and inputs, in any programs of the same user, may hang
// on it; every input gets what every output sends, each output's messages in order. A message is
// stamped as it arrives. Sending never waits: a program that does not read loses messages, and one
// that has gone is forgotten.
#pragma once

#include <string>

namespace machine {

// Hangs a device, by its number, on the cable of that name; an empty name takes it off. Cables of
// the machine itself stay as they are. False if there is no such device, or the user's runtime
// folder cannot hold the cable's end. It ends with the device (RemoveMidiDevices, PowerOn) or with
// the process, after what was sent has gone out. Thread: the one that steers.
bool BridgeOutput(int output, const std::string& name);
bool BridgeInput(int input, const std::string& name);

} // namespace machine
