// What the machine's clock must know of the kernel's threads.
#pragma once

namespace machine {

// Returns when every thread that was started through _beginthread or _beginthreadex has ended or
// waits in the kernel: for an object, or asleep. Not for such a thread itself to call.
void WaitUntilLibraryThreadsWait();

} // namespace machine
