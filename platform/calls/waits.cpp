// Events, threads and the waits for them.
//
// A signal is handed over on the spot: whoever signals an object finds the waits that it ends, and
// takes them off the list before it goes on. So a thread whose wait has ended counts as at work
// from that moment, and the stepped clock never moves on in the gap before it really runs.
#include "platform/device/clock.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/power.h"
#include "platform/system/kernel.h"

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
#include <vector>

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
    bool Counted = false; // a thread of the library's
    bool Done = false;
    DWORD Result = WAIT_TIMEOUT;
    std::condition_variable Wake{};
};

struct Kernel {
    std::mutex Lock;
    std::unordered_map<std::uintptr_t, ObjectPointer> Handles;
    std::uintptr_t LastHandle = 0;
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

std::uintptr_t NewHandle(Kernel& kernel, ObjectPointer object) {
    kernel.LastHandle += 4;
    kernel.Handles.emplace(kernel.LastHandle, std::move(object));
    return kernel.LastHandle;
}

ObjectPointer Find(const Kernel& kernel, HANDLE handle) {
    const auto found = kernel.Handles.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == kernel.Handles.end() ? nullptr : found->second;
}

// Ends a wait if one of its objects allows, and takes that one's signal with it.
bool Satisfied(Objects objects, DWORD& result) {
    const auto first = std::find_if(objects.begin(), objects.end(),
                                    [](const ObjectPointer& object) { return object->Signalled; });
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
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    Waiter& waiter = *static_cast<Waiter*>(context);
    if (!waiter.Done) End(kernel, waiter, WAIT_TIMEOUT);
}

void Enlist(Kernel& kernel, Waiter& waiter) {
    kernel.Waiters.push_back(&waiter);
    Leave(kernel);
}

void WaitOnSteppedTime(Kernel& kernel, Lock& lock, Waiter& waiter, std::uint64_t deadline) {
    // Scheduled before the thread counts as waiting: from then on time may reach the deadline.
    if (deadline != Forever) Schedule(Lane::Timers, deadline, TimeOut, &waiter);
    Enlist(kernel, waiter);
    waiter.Wake.wait(lock, [&waiter] { return waiter.Done; });
    lock.unlock();
    UnscheduleAll(&waiter);
}

void WaitOnRealTime(Kernel& kernel, Lock& lock, Waiter& waiter, std::uint64_t deadline) {
    Enlist(kernel, waiter);
    const auto done = [&waiter] { return waiter.Done; };
    const std::chrono::steady_clock::time_point until{std::chrono::microseconds(deadline)};
    if (deadline == Forever)
        waiter.Wake.wait(lock, done);
    else if (!waiter.Wake.wait_until(lock, until, done))
        End(kernel, waiter, WAIT_TIMEOUT);
}

DWORD Block(Kernel& kernel, Lock& lock, Objects objects, std::uint64_t deadline) {
    Waiter waiter{.For = objects, .Counted = libraryThread};
    if (ClockIsStepped())
        WaitOnSteppedTime(kernel, lock, waiter, deadline);
    else
        WaitOnRealTime(kernel, lock, waiter, deadline);
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

DWORD Wait(Kernel& kernel, Lock& lock, Objects objects, DWORD milliseconds) {
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
    ObjectPointer Object;
};

void* ThreadMain(void* argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    libraryThread = true;
    start->Body(start->Argument);
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    Signal(kernel, *start->Object);
    Leave(kernel);
    return nullptr;
}

const AtPowerOn atPowerOn([] {
    const Lock lock(The().Lock);
    The().Handles.clear();
});

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
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || all) return WAIT_FAILED;
    Kernel& kernel = The();
    // Held for the length of the wait, so that closing a handle meanwhile does no harm.
    std::array<ObjectPointer, MAXIMUM_WAIT_OBJECTS> held;
    Lock lock(kernel.Lock);
    for (DWORD i = 0; i < count; ++i) {
        held[i] = Find(kernel, objects[i]);
        if (!held[i]) return WAIT_FAILED;
    }
    return Wait(kernel, lock, Objects(held.data(), count), milliseconds);
}

BOOL CloseHandle(HANDLE handle) {
    const Lock lock(The().Lock);
    return The().Handles.erase(reinterpret_cast<std::uintptr_t>(handle)) != 0;
}

// Stacks have the system's own size, which no caller here exceeds.
std::uintptr_t _beginthreadex(void* /*security*/, unsigned /*stackSize*/,
                              unsigned(WINAPI* start)(void*), void* argument, unsigned /*flags*/,
                              unsigned* /*id*/) {
    if (const auto failure = OrderedFailure(Call::_beginthreadex))
        return static_cast<std::uintptr_t>(*failure);
    const auto object = std::make_shared<Object>(Object{.Signalled = false, .Manual = true});
    auto owned = std::make_unique<ThreadStart>(ThreadStart{start, argument, object});
    Kernel& kernel = The();
    const Lock lock(kernel.Lock);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, ThreadMain, owned.get()) != 0) return 0;
    pthread_detach(thread);
    static_cast<void>(owned.release());
    ++kernel.AtWork;
    return NewHandle(kernel, object);
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) return std::this_thread::yield();
    Kernel& kernel = The();
    Lock lock(kernel.Lock);
    Wait(kernel, lock, {}, milliseconds);
}

} // namespace zorsystem
