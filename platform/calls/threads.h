// Identifiers of threads, as cheap to ask for as a variable.
#pragma once

#include "platform/system/types.h"

namespace machine {

// A thread's identifier, 0 until it is first asked for. Initial-exec: a plain read of the thread's
// own block, which a lock that is entered for every record wants.
extern constinit thread_local DWORD threadId __attribute__((tls_model("initial-exec")));

// Gives this thread an identifier that no thread has had.
DWORD NewThreadId();

inline DWORD CurrentThread() { return threadId != 0 ? threadId : NewThreadId(); }

} // namespace machine
