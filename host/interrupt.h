// Ctrl-C as a flag that loops look at, so that every command silences and writes before it ends.
#pragma once

namespace zorhost {

// From now on SIGINT, SIGTERM and SIGHUP set the flag. A second one ends the program at once.
void CatchInterrupts();
bool Interrupted();

// Sleeps so many milliseconds, less if a signal comes.
void Nap(int milliseconds);

} // namespace zorhost
