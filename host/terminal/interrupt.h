// Ctrl-C as a flag that loops look at, so that every command silences and writes before it ends.
#pragma once

namespace zorhost {

// From now on SIGINT, SIGTERM and SIGHUP set the flag. A second SIGINT or SIGTERM ends the program
// at once; a terminal that closes may send SIGHUP more than once. What is being written meanwhile is
// written on.
void CatchInterrupts();
bool Interrupted();
// What is to be done before that end, of what a signal may do; null for nothing.
void AtSecondInterrupt(void (*last)());

// While one lives, a signal also ends the wait of a file that is opened or read: a pipe whose other
// end keeps silent. One at a time, after CatchInterrupts.
class WaitEndsAtInterrupt {
public:
    WaitEndsAtInterrupt();
    ~WaitEndsAtInterrupt();
    WaitEndsAtInterrupt(const WaitEndsAtInterrupt&) = delete;
    WaitEndsAtInterrupt& operator=(const WaitEndsAtInterrupt&) = delete;
};

// While one lives, no second one ends the program: a file is being put in its place.
class InterruptsHeld {
public:
    InterruptsHeld();
    ~InterruptsHeld();
    InterruptsHeld(const InterruptsHeld&) = delete;
    InterruptsHeld& operator=(const InterruptsHeld&) = delete;
};

// Sleeps so many milliseconds, less if a signal comes.
void Nap(int milliseconds);

} // namespace zorhost
