// Who may be inside an output port.
#pragma once

#include "mme/ports.h"

// A thread's stay in a port: held while one message is counted and sent, so that the port's tables
// and what its device gets stay in step whichever thread sends. Never held across a message box,
// nor while a device is opened, reset or closed.
//
// A device may be a program of its own that calls back while it is being sent to: on the same
// thread, or on another one that holds a lock the sender is waiting for. So a thread that is inside
// the MIDI input's callback never waits here, and a thread that is in the port already does not
// enter it again. Their message is lost, as is all that comes in while the library sends. Every
// other thread waits, for as long as the device takes over one message.
class PortEntry {
public:
    explicit PortEntry(MMEOutPort& wanted);
    ~PortEntry();
    PortEntry(const PortEntry&) = delete;
    PortEntry& operator=(const PortEntry&) = delete;

    // Whether the thread is inside, and the port open. Everything below the gate is its own then.
    explicit operator bool() const { return Inside && Port.NoteCounts; }

private:
    MMEOutPort& Port;
    const bool Inside;
};
