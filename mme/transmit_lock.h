// The one lock of this driver.
#pragma once

// Held while one message is counted and sent, so that the tables of a port and what its device gets
// stay in step whichever thread sends, and while a port is taken away. Never held across a message
// box. A thread that holds it may take it again: a device may call back while it is being sent to.
class TransmitLock {
public:
    TransmitLock();
    ~TransmitLock();
    TransmitLock(const TransmitLock&) = delete;
    TransmitLock& operator=(const TransmitLock&) = delete;
};
