// Events, threads and the waits for them.
//
// A signal is handed over on the spot: whoever signals an object finds the waits that it ends, and
// takes them off the list before it goes on. So a thread whose wait has ended counts as at work
// from that moment, and the stepped clock never moves on in the gap before it really runs.
#include "platform/kernel/objects.h"

#include "platform/kernel/thread_id.h"
#include "platform/system/kernel.h"
#include "platform/virtual/clock.h"
#include "platform/virtual/fault_point.h"
#include "platform/virtual/kernel.h"
#include "platform/virtual/power.h"
#include "platform/virtual/scheduler.h"
#include "platform/virtual/steering.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <span>
#include <thread>
#include <unordered_map>

namespace machine {
namespace {

struct Object {
    bool Signalled;
    bool Manual; // stays signalled when a wait has seen it
};
using ObjectPointer = std::shared_ptr<Object>;
using Objects = std::span<const ObjectPointer>;

struct Waiter {
    Objects For;          // none: asleep
    bool All = false;     // ends when all are signalled, not at the first
    bool Counted = false; // a thread of the library's
    bool Done = false;
    DWORD Result = WAIT_TIMEOUT;
    std::condition_variable Wake{};
    Waiter* Next = nullptr;
};

struct Kernel {
    std::mutex Lock;
    std::unordered_map<std::uintptr_t, ObjectPointer> Handles;
    std::uintptr_t LastHandle = 0;
    Waiter* Waiters = nullptr;
    int Threads = 0; // the library's, alive
    int AtWork = 0;  // of these, not waiting
    std::condition_variable NoneAtWork;
};

Kernel& The() {
    static Kernel& kernel = *new Kernel;
    return kernel;
}

thread_local bool libraryThread = false;

using Lock = std::unique_lock<std::mutex>;

std::uintptr_t NewHandle(Kernel& kernel, ObjectPointer object) {
    kernel.LastHandle += 4;
    kernel.Handles.emplace(kernel.LastHandle, std::move(object));
    return kernel.LastHandle;
}

ObjectPointer Find(const Kernel& kernel, HANDLE handle) {
    const auto found = kernel.Handles.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == kernel.Handles.end() ? nullptr : found->second;
}

void Consume(Object& object) {
    if (!object.Manual) object.Signalled = false;
}

// Ends a wait if its objects allow, and takes their signals with it.
bool Satisfied(Objects objects, bool all, DWORD& result) {
    const auto signalled = [](const ObjectPointer& object) { return object->Signalled; };
    if (all) {
        if (!std::all_of(objects.begin(), objects.end(), signalled)) return false;
        for (const ObjectPointer& object : objects) Consume(*object);
        result = WAIT_OBJECT_0;
        return true;
    }
    const auto first = std::find_if(objects.begin(), objects.end(), signalled);
    if (first == objects.end()) return false;
    Consume(**first);
    result = WAIT_OBJECT_0 + static_cast<DWORD>(first - objects.begin());
    return true;
}

void Leave(Kernel& kernel) { // the thread stops being at work
    if (libraryThread && --kernel.AtWork == 0) kernel.NoneAtWork.notify_all();
}

void End(Kernel& kernel, Waiter& waiter, DWORD result) {
    Waiter** link = &kernel.Waiters;
    while (*link != &waiter) link = &(*link)->Next;
    *link = waiter.Next;
    waiter.Done = true;
    waiter.Result = result;
    if (waiter.Counted) ++kernel.AtWork;
    waiter.Wake.notify_one();
}

void Signal(Kernel& kernel, Object& object) {
    object.Signalled = true;
    for (Waiter* waiter = kernel.Waiters; waiter;) {
        Waiter* const next = waiter->Next;
        DWORD result = 0;
        if (!waiter->For.empty() && Satisfied(waiter->For, waiter->All, result))
            End(kernel, *waiter, result);
        waiter = next;
    }
}

// The time-out of a wait on stepped time.
void TimeOut(void* context, std::uintptr_t /*argument*/) {
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    Waiter& waiter = *static_cast<Waiter*>(context);
    if (!waiter.Done) End(kernel, waiter, WAIT_TIMEOUT);
}

// Lists the waiter at the end, since of several waits for one signal the oldest gets it.
void Enlist(Kernel& kernel, Waiter& waiter) {
    Waiter** link = &kernel.Waiters;
    while (*link) link = &(*link)->Next;
    *link = &waiter;
    Leave(kernel);
}

void WaitOnSteppedTime(Kernel& kernel, Lock& lock, Waiter& waiter, std::uint64_t deadline) {
    // Scheduled before the thread counts as waiting: from then on time may reach the deadline.
    if (deadline != Never) Schedule(Lane::Timers, deadline, TimeOut, &waiter);
    Enlist(kernel, waiter);
    waiter.Wake.wait(lock, [&waiter] { return waiter.Done; });
    lock.unlock();
    UnscheduleAll(&waiter);
}

void WaitOnRealTime(Kernel& kernel, Lock& lock, Waiter& waiter, std::uint64_t deadline) {
    Enlist(kernel, waiter);
    const auto done = [&waiter] { return waiter.Done; };
    const std::chrono::steady_clock::time_point until{std::chrono::microseconds(deadline)};
    if (deadline == Never)
        waiter.Wake.wait(lock, done);
    else if (!waiter.Wake.wait_until(lock, until, done))
        End(kernel, waiter, WAIT_TIMEOUT);
}

DWORD Block(Kernel& kernel, Lock& lock, Objects objects, bool all, std::uint64_t deadline) {
    Waiter waiter{.For = objects, .All = all, .Counted = libraryThread};
    if (ClockIsStepped())
        WaitOnSteppedTime(kernel, lock, waiter, deadline);
    else
        WaitOnRealTime(kernel, lock, waiter, deadline);
    return waiter.Result;
}

// A wait of the thread that moves stepped time: it moves it. Inside an action no time can pass, so
// there a wait with a time-out is over as soon as every other thread waits too.
DWORD WaitSteering(Kernel& kernel, Lock& lock, Objects objects, bool all, std::uint64_t deadline) {
    for (;;) {
        lock.unlock();
        const bool moved = !InsideAction() && StepTowards(deadline);
        WaitUntilLibraryThreadsWait();
        lock.lock();
        DWORD result = 0;
        if (!objects.empty() && Satisfied(objects, all, result)) return result;
        if (moved) continue;
        return deadline == Never ? Block(kernel, lock, objects, all, Never) : WAIT_TIMEOUT;
    }
}

DWORD Wait(Kernel& kernel, Lock& lock, Objects objects, bool all, DWORD milliseconds) {
    DWORD result = 0;
    if (!objects.empty() && Satisfied(objects, all, result)) return result;
    if (milliseconds == 0) return WAIT_TIMEOUT;
    const std::uint64_t deadline =
        milliseconds == INFINITE ? Never : Microseconds() + std::uint64_t{milliseconds} * 1000;
    return ThisThreadSteers() ? WaitSteering(kernel, lock, objects, all, deadline)
                              : Block(kernel, lock, objects, all, deadline);
}

// What a new thread is given.
struct ThreadStart {
    void (*Plain)(void*);
    unsigned(WINAPI* Extended)(void*);
    void* Argument;
    ObjectPointer Object;
    std::uintptr_t Handle;
    DWORD Id;
};

// Does what is to be done when the thread ends, whether it returns or is ended half-way.
class ThreadEnd {
public:
    explicit ThreadEnd(const ThreadStart& start) : Start(start) {}
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
    ~ThreadEnd() {
        Kernel& kernel = The();
        const Lock lock(kernel.Lock);
        Signal(kernel, *Start.Object);
        if (Start.Plain) kernel.Handles.erase(Start.Handle);
        --kernel.Threads;
        Leave(kernel);
    }

private:
    const ThreadStart& Start;
};

void* ThreadMain(void* argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    threadId = start->Id;
    libraryThread = true;
    const ThreadEnd end(*start);
    if (start->Plain)
        start->Plain(start->Argument);
    else
        start->Extended(start->Argument);
    return nullptr;
}

// Starts a thread and gives its handle; 0 if there is none to be had. Stacks have the system's own
// size, which no caller here exceeds.
std::uintptr_t StartThread(ThreadStart start) {
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    start.Object = std::make_shared<Object>(Object{.Signalled = false, .Manual = true});
    start.Handle = NewHandle(kernel, start.Object);
    auto owned = std::make_unique<ThreadStart>(start);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, ThreadMain, owned.get()) != 0) {
        kernel.Handles.erase(start.Handle);
        return 0;
    }
    pthread_detach(thread);
    static_cast<void>(owned.release());
    ++kernel.Threads;
    ++kernel.AtWork;
    return start.Handle;
}

void Reset() {
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    kernel.Handles.clear();
}
const AtPowerOn atPowerOn(Reset);

} // namespace

void WaitUntilLibraryThreadsWait() {
    Kernel& kernel = The();
    Lock lock(kernel.Lock);
    kernel.NoneAtWork.wait(lock, [&kernel] { return kernel.AtWork == 0; });
}

int OpenHandles() {
    const Lock lock(The().Lock);
    return static_cast<int>(The().Handles.size());
}

int LibraryThreads() {
    const Lock lock(The().Lock);
    return The().Threads;
}

} // namespace machine

using namespace machine;

HANDLE CreateEventA(void* /*security*/, BOOL manualReset, BOOL signalled, LPCSTR /*name*/) {
    if (const auto failure = OrderedFailure(Call::CreateEventA))
        return reinterpret_cast<HANDLE>(*failure);
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    return reinterpret_cast<HANDLE>(NewHandle(
        kernel,
        std::make_shared<Object>(Object{.Signalled = signalled != 0, .Manual = manualReset != 0})));
}

BOOL SetEvent(HANDLE event) {
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    const ObjectPointer object = Find(kernel, event);
    if (!object) return FALSE;
    Signal(kernel, *object);
    return TRUE;
}

BOOL ResetEvent(HANDLE event) {
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    const ObjectPointer object = Find(kernel, event);
    if (!object) return FALSE;
    object->Signalled = false;
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    return WaitForMultipleObjects(1, &object, FALSE, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds) {
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || !objects) return WAIT_FAILED;
    Kernel& kernel = The();
    // Held for the length of the wait, so that closing a handle meanwhile does no harm.
    std::array<ObjectPointer, MAXIMUM_WAIT_OBJECTS> held;
    Lock lock(kernel.Lock);
    for (DWORD i = 0; i < count; ++i) {
        held[i] = Find(kernel, objects[i]);
        if (!held[i]) return WAIT_FAILED;
    }
    return Wait(kernel, lock, Objects(held.data(), count), all != FALSE, milliseconds);
}

BOOL CloseHandle(HANDLE handle) {
    const Lock lock(The().Lock);
    return The().Handles.erase(reinterpret_cast<std::uintptr_t>(handle)) != 0;
}

std::uintptr_t _beginthread(void (*start)(void*), unsigned /*stackSize*/, void* argument) {
    if (const auto failure = OrderedFailure(Call::_beginthread))
        return static_cast<std::uintptr_t>(*failure);
    if (!start) return static_cast<std::uintptr_t>(-1);
    const std::uintptr_t handle =
        StartThread({start, nullptr, argument, nullptr, 0, NewThreadId()});
    return handle != 0 ? handle : static_cast<std::uintptr_t>(-1);
}

std::uintptr_t _beginthreadex(void* /*security*/, unsigned /*stackSize*/,
                              unsigned(WINAPI* start)(void*), void* argument, unsigned /*flags*/,
                              unsigned* id) {
    if (const auto failure = OrderedFailure(Call::_beginthreadex))
        return static_cast<std::uintptr_t>(*failure);
    if (!start) return 0;
    const DWORD thread = NewThreadId();
    if (id) *id = thread;
    return StartThread({nullptr, start, argument, nullptr, 0, thread});
}

void _endthread() { pthread_exit(nullptr); }

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) return std::this_thread::yield();
    Kernel& kernel = The();
    Lock lock(kernel.Lock);
    Wait(kernel, lock, {}, false, milliseconds);
}

DWORD GetTickCount() { return static_cast<DWORD>(Microseconds() / 1000); }
