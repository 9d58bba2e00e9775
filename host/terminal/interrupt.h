// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Ctrl-C as a flag that loops poll, so that every command can silence its notes and write its
// files.
#pragma once

namespace zorhost {

// Makes SIGINT, SIGTERM and SIGHUP (on Windows: console events) set the flag from now on. A second
// SIGINT or SIGTERM ends the program at once, unless a ForcedExitBlocker exists. SIGHUP never does,
// since a closing terminal may send it several times.
void CatchInterrupts();
bool Interrupted();
// Sets a function to run before a second signal ends the program; null for none. On Linux it runs
// in the signal handler and may only do what is async-signal-safe.
void SetForcedExitHandler(void (*handler)());

// While an object lives, a signal also ends a blocking open or read, as on a pipe without a writer.
// One at a time, after CatchInterrupts.
class InterruptibleReads {
public:
    InterruptibleReads();
    ~InterruptibleReads();
    InterruptibleReads(const InterruptibleReads&) = delete;
    InterruptibleReads& operator=(const InterruptibleReads&) = delete;
};

// While an object lives, a second signal does not end the program. Used while a file is replaced.
class ForcedExitBlocker {
public:
    ForcedExitBlocker();
    ~ForcedExitBlocker();
    ForcedExitBlocker(const ForcedExitBlocker&) = delete;
    ForcedExitBlocker& operator=(const ForcedExitBlocker&) = delete;
};

// Sleeps for the given time, or until a signal arrives.
void Nap(int milliseconds);

} // namespace zorhost
