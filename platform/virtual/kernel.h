// What the library holds of the kernel at this moment, for finding what it forgot to give back.
#pragma once

namespace machine {

int GlobalBlocks();   // allocated by GlobalAlloc and not freed
int OpenHandles();    // events, and threads whose handle is still open
int LibraryThreads(); // started through _beginthread or _beginthreadex, and not ended
int LoadedModules();  // LoadLibraryA not yet paired by FreeLibrary

} // namespace machine
