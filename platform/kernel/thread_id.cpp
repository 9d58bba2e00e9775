#include "platform/kernel/thread_id.h"

#include "platform/system/kernel.h"

namespace machine {

constinit thread_local DWORD threadId = 0;

DWORD NewThreadId() {
    static std::atomic<DWORD> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace machine

DWORD GetCurrentThreadId() { return machine::CurrentThread(); }
