// Events, threads and the waits for them.
//
// A signal is handed over on the spot: whoever signals an object finds the waits that it ends, and
// takes them off the list before it goes on. So a thread whose wait has ended counts as at work
// from that moment, and the stepped clock never moves on in the gap before it really runs.
#include "platform/calls/handles.h"
#include "platform/device/clock.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/power.h"
#include "platform/system/kernel.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <pthread.h>
#include <span>
#include <thread>

namespace machine {
namespace {

struct Object {  // an event, or a thread that ends
    bool Manual; // stays signalled when a wait has seen it
    bool Signalled;
};
using Objects = std::span<const std::shared_ptr<Object>>;

struct Waiter {
    Objects For;          // none: asleep
    bool Counted = false; // a thread of the library's
    bool Done = false;
    DWORD Result = WAIT_TIMEOUT;
    std::condition_variable Wake{};
};

struct Kernel {
    Handles<Object> Open;
    std::mutex Lock;              // of all below and of what objects and waiters hold
    std::vector<Waiter*> Waiters; // the oldest first: of several waits for one signal it gets it
    int AtWork = 0;               // threads of the library's that do not wait
    std::condition_variable NoneAtWork;
};

Kernel& The() {
    static Kernel& kernel = *new Kernel;
    return kernel;
}

thread_local bool libraryThread = false;

using Lock = std::unique_lock<std::mutex>;

// Ends a wait if one of its objects allows, and takes that one's signal with it.
bool Satisfied(Objects objects, DWORD& result) {
    const auto first =
        std::ranges::find_if(objects, [](const auto& each) { return each->Signalled; });
    if (first == objects.end()) return false;
    if (!(*first)->Manual) (*first)->Signalled = false;
    result = WAIT_OBJECT_0 + static_cast<DWORD>(first - objects.begin());
    return true;
}

void Leave(Kernel& kernel) { // the thread stops being at work
    if (libraryThread && --kernel.AtWork == 0) kernel.NoneAtWork.notify_all();
}

void End(Kernel& kernel, Waiter& waiter, DWORD result) {
    std::erase(kernel.Waiters, &waiter);
    waiter.Done = true;
    waiter.Result = result;
    if (waiter.Counted) ++kernel.AtWork;
    waiter.Wake.notify_one();
}

void Signal(Kernel& kernel, Object& object) {
    object.Signalled = true;
    for (std::size_t i = 0; i < kernel.Waiters.size();) {
        Waiter& waiter = *kernel.Waiters[i];
        DWORD result = 0;
        if (Satisfied(waiter.For, result))
            End(kernel, waiter, result); // and the next one is at its place
        else
            ++i;
    }
}

// The time-out of a wait on stepped time.
void TimeOut(void* context, std::uintptr_t /*argument*/) {
    const Lock lock(The().Lock);
    Waiter& waiter = *static_cast<Waiter*>(context);
    if (!waiter.Done) End(The(), waiter, WAIT_TIMEOUT);
}

DWORD Block(Kernel& kernel, Lock& lock, Objects objects, std::uint64_t deadline) {
    Waiter waiter{.For = objects, .Counted = libraryThread};
    const auto done = [&waiter] { return waiter.Done; };
    const std::chrono::steady_clock::time_point until{std::chrono::microseconds(deadline)};
    const bool timed = deadline != Forever, stepped = ClockIsStepped();
    // Scheduled before the thread counts as waiting: from then on time may reach the deadline.
    if (timed && stepped) Schedule(Lane::Timers, deadline, TimeOut, &waiter);
    kernel.Waiters.push_back(&waiter);
    Leave(kernel);
    if (!timed || stepped)
        waiter.Wake.wait(lock, done);
    else if (!waiter.Wake.wait_until(lock, until, done))
        End(kernel, waiter, WAIT_TIMEOUT);
    lock.unlock();
    if (timed && stepped) UnscheduleAll(&waiter);
    return waiter.Result;
}

// A wait of the thread that moves stepped time: it moves it. Inside an action no time can pass, so
// there a wait with a time-out is over as soon as every other thread waits too.
DWORD WaitSteering(Kernel& kernel, Lock& lock, Objects objects, std::uint64_t deadline) {
    for (;;) {
        lock.unlock();
        const bool moved = !InsideAction() && StepTowards(deadline);
        WaitUntilLibraryThreadsWait();
        lock.lock();
        DWORD result = 0;
        if (Satisfied(objects, result)) return result;
        if (moved) continue;
        return deadline == Forever ? Block(kernel, lock, objects, Forever) : WAIT_TIMEOUT;
    }
}

DWORD Wait(Objects objects, DWORD milliseconds) {
    Kernel& kernel = The();
    Lock lock(kernel.Lock);
    DWORD result = 0;
    if (Satisfied(objects, result)) return result;
    if (milliseconds == 0) return WAIT_TIMEOUT;
    const std::uint64_t deadline =
        milliseconds == INFINITE ? Forever : Microseconds() + std::uint64_t{milliseconds} * 1000;
    return ThisThreadSteers() ? WaitSteering(kernel, lock, objects, deadline)
                              : Block(kernel, lock, objects, deadline);
}

// What a new thread is given.
struct ThreadStart {
    unsigned(WINAPI* Body)(void*);
    void* Argument;
    std::shared_ptr<Object> End;
};

void* ThreadMain(void* argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    libraryThread = true;
    start->Body(start->Argument);
    const Lock lock(The().Lock);
    Signal(The(), *start->End);
    Leave(The());
    return nullptr;
}

const AtPowerOn atPowerOn([] { The().Open.TakeAll(); });

} // namespace

void WaitUntilLibraryThreadsWait() {
    Kernel& kernel = The();
    Lock lock(kernel.Lock);
    kernel.NoneAtWork.wait(lock, [&kernel] { return kernel.AtWork == 0; });
}

} // namespace machine

namespace zorsystem {

using namespace machine;

HANDLE CreateEventA(void* /*security*/, BOOL manualReset, BOOL signalled, LPCSTR /*name*/) {
    if (const Failure failure{Call::CreateEventA}) return failure;
    return The().Open.Add<HANDLE>(
        std::make_shared<Object>(Object{manualReset != 0, signalled != 0}));
}

BOOL SetEvent(HANDLE event) {
    const auto object = The().Open.Find(event);
    const Lock lock(The().Lock);
    if (object) Signal(The(), *object);
    return object != nullptr;
}

BOOL ResetEvent(HANDLE event) {
    const auto object = The().Open.Find(event);
    const Lock lock(The().Lock);
    if (object) object->Signalled = false;
    return object != nullptr;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    return WaitForMultipleObjects(1, &object, FALSE, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL /*all*/, DWORD milliseconds) {
    // Held for the length of the wait, so that closing a handle meanwhile does no harm.
    std::array<std::shared_ptr<Object>, MAXIMUM_WAIT_OBJECTS> held;
    for (DWORD i = 0; i < count; ++i)
        if (!(held[i] = The().Open.Find(objects[i]))) return WAIT_FAILED;
    return Wait(Objects(held.data(), count), milliseconds);
}

BOOL CloseHandle(HANDLE handle) { return The().Open.Take(handle) != nullptr; }

// Stacks have the system's own size, which no caller here exceeds.
std::uintptr_t _beginthreadex(void* /*security*/, unsigned /*stackSize*/,
                              unsigned(WINAPI* start)(void*), void* argument, unsigned /*flags*/,
                              unsigned* /*id*/) {
    if (const Failure failure{Call::_beginthreadex}) return failure;
    const auto end = std::make_shared<Object>(Object{.Manual = true, .Signalled = false});
    auto owned = std::make_unique<ThreadStart>(ThreadStart{start, argument, end});
    const Lock lock(The().Lock);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, ThreadMain, owned.get()) != 0) return 0;
    pthread_detach(thread);
    static_cast<void>(owned.release());
    ++The().AtWork;
    return The().Open.Add<std::uintptr_t>(end);
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) return std::this_thread::yield();
    Wait({}, milliseconds);
}

} // namespace zorsystem
