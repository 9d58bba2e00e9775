// Cables between the machines of different processes: what one program sends to a bridged output
// arrives at the bridged inputs of others, without hardware.
//
// A cable has a name. Any number of outputs and inputs, in any programs of the same user that have
// the same runtime folder, may hang on it; every input gets what every output sends, each output's
// messages in order. A message is stamped as it arrives.
//
// Sending never waits, whatever the others do. 65,536 messages wait for a program that is slow or
// stands still; one that has more to come misses the oldest of them, and nobody else any. A program
// that has gone leaves nothing that anybody has to wait for.
#pragma once

#include <string>

namespace machine {

// Hangs a device, by its number, on the cable of that name; an empty name takes it off. Cables of
// the machine itself stay as they are. False if there is no such device, or no shared memory or
// thread for the cable's end to be had. It ends with the device (RemoveMidiDevices, PowerOn) or
// with the process; what has been sent by then still arrives. Thread: the one that steers.
bool BridgeOutput(int output, const std::string& name);
bool BridgeInput(int input, const std::string& name);

} // namespace machine
