// Events, threads and the waits for them.
//
// Whoever signals an object rouses every wait, and each looks whether it is over. A thread that has
// been roused counts as at work from that moment, so the stepped clock never moves on in the gap
// before it really runs.
#include "platform/calls/handles.h"
#include "platform/api/clock.h"
#include "platform/machine/faults.h"
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

struct Kernel {
    Handles<Object> Open;
    std::mutex Lock; // of all below and of what objects hold
    std::condition_variable Changed;
    unsigned Rousings = 0;
    int AtWork = 0, Waiting = 0; // threads of the library's
};

thread_local bool libraryThread = false;

using Lock = std::unique_lock<std::mutex>;

std::chrono::steady_clock::time_point RealTime(std::uint64_t microseconds) {
    return std::chrono::steady_clock::time_point(std::chrono::microseconds(microseconds));
}

// Ends a wait if one of its objects allows, and takes that one's signal with it.
bool Satisfied(Objects objects, DWORD& result) {
    const auto first =
        std::ranges::find_if(objects, [](const auto& each) { return each->Signalled; });
    if (first == objects.end()) return false;
    if (!(*first)->Manual) (*first)->Signalled = false;
    result = WAIT_OBJECT_0 + static_cast<DWORD>(first - objects.begin());
    return true;
}

void Rouse(Kernel& kernel) {
    ++kernel.Rousings;
    kernel.AtWork += std::exchange(kernel.Waiting, 0);
    kernel.Changed.notify_all();
}

void Signal(Kernel& kernel, Object& object) {
    object.Signalled = true;
    Rouse(kernel);
}

// Until the next rousing, or the deadline of a real wait. The thread is not at work meanwhile.
void Rest(Kernel& kernel, Lock& lock, std::uint64_t deadline) {
    const auto roused = [&kernel, seen = kernel.Rousings] { return kernel.Rousings != seen; };
    kernel.Waiting += libraryThread;
    kernel.AtWork -= libraryThread;
    if (libraryThread && kernel.AtWork == 0) kernel.Changed.notify_all();
    if (deadline == Forever || ClockIsStepped())
        kernel.Changed.wait(lock, roused);
    else if (!kernel.Changed.wait_until(lock, RealTime(deadline), roused)) {
        kernel.Waiting -= libraryThread;
        kernel.AtWork += libraryThread;
    }
}

DWORD Block(Kernel& kernel, Lock& lock, Objects objects, std::uint64_t deadline) {
    DWORD result = WAIT_TIMEOUT;
    // Scheduled before the thread counts as waiting: from then on time may reach the deadline.
    if (deadline != Forever && ClockIsStepped())
        Schedule(
            Lane::Timers, deadline,
            [](void*, std::uintptr_t) {
                const Lock ending(The<Kernel>().Lock);
                Rouse(The<Kernel>());
            },
            &result);
    while (!Satisfied(objects, result) && Microseconds() < deadline) Rest(kernel, lock, deadline);
    lock.unlock();
    UnscheduleAll(&result);
    return result;
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
    Kernel& kernel = The<Kernel>();
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
    const Lock lock(The<Kernel>().Lock);
    --The<Kernel>().AtWork;
    Signal(The<Kernel>(), *start->End);
    return nullptr;
}

const AtPowerOn atPowerOn([] { The<Kernel>().Open.TakeAll(); });

} // namespace

void WaitUntilLibraryThreadsWait() {
    Kernel& kernel = The<Kernel>();
    Lock lock(kernel.Lock);
    kernel.Changed.wait(lock, [&kernel] { return kernel.AtWork == 0; });
}

} // namespace machine

namespace zorsystem {

using namespace machine;

HANDLE CreateEventA(void* /*security*/, BOOL manualReset, BOOL signalled, LPCSTR /*name*/) {
    if (const Failure failure{Call::CreateEventA}) return failure;
    return The<Kernel>().Open.Add<HANDLE>(
        std::make_shared<Object>(Object{manualReset != 0, signalled != 0}));
}

BOOL SetEvent(HANDLE event) {
    const auto object = The<Kernel>().Open.Find(event);
    const Lock lock(The<Kernel>().Lock);
    if (object) Signal(The<Kernel>(), *object);
    return object != nullptr;
}

BOOL ResetEvent(HANDLE event) {
    const auto object = The<Kernel>().Open.Find(event);
    const Lock lock(The<Kernel>().Lock);
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
        if (!(held[i] = The<Kernel>().Open.Find(objects[i]))) return WAIT_FAILED;
    return Wait(Objects(held.data(), count), milliseconds);
}

BOOL CloseHandle(HANDLE handle) { return The<Kernel>().Open.Take(handle) != nullptr; }

// Stacks have the system's own size, which no caller here exceeds.
std::uintptr_t _beginthreadex(void* /*security*/, unsigned /*stackSize*/,
                              unsigned(WINAPI* start)(void*), void* argument, unsigned /*flags*/,
                              unsigned* /*id*/) {
    if (const Failure failure{Call::_beginthreadex}) return failure;
    const auto end = std::make_shared<Object>(Object{.Manual = true, .Signalled = false});
    auto owned = std::make_unique<ThreadStart>(ThreadStart{start, argument, end});
    const Lock lock(The<Kernel>().Lock);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, ThreadMain, owned.get()) != 0) return 0;
    pthread_detach(thread);
    static_cast<void>(owned.release());
    ++The<Kernel>().AtWork;
    return The<Kernel>().Open.Add<std::uintptr_t>(end);
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) return std::this_thread::yield();
    Wait({}, milliseconds);
}

} // namespace zorsystem
