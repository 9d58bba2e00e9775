// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Events, threads, and waits for them.
//
// Signalling any object wakes every waiting thread, and each checks whether its wait is over. A
// woken thread counts as working from that moment, so that the stepped clock does not move before
// the thread really runs.
#include "platform/api/clock.h"
#include "platform/calls/handles.h"
#include "platform/machine/faults.h"
#include "platform/machine/power.h"
#include "platform/system/kernel.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <pthread.h>
#include <span>
#include <thread>

namespace calls {

using namespace device;
using machine::ClockIsStepped;
using machine::Microseconds;

namespace {

struct Object {  // an event, or a thread that ends
    bool Manual; // stays signalled when a wait ends
    bool Signalled;
};
using Objects = std::span<const std::shared_ptr<Object>>;

struct Kernel {
    Handles<Object> Open;
    std::mutex Lock; // of all below and of the objects' members
    std::condition_variable Changed;
    unsigned WakeCount = 0;
    int Working = 0, Waiting = 0; // threads of the library's
};
Kernel& KernelState() { return ImmortalSingleton<Kernel>(); }

thread_local bool libraryThread = false;

using Lock = std::unique_lock<std::mutex>;

std::chrono::steady_clock::time_point RealTime(std::uint64_t microseconds) {
    return std::chrono::steady_clock::time_point(std::chrono::microseconds(microseconds));
}

// True if one of the objects is signalled; resets the first such object unless it is manual.
bool ConsumeSignal(Objects objects, DWORD& result) {
    const auto first =
        std::ranges::find_if(objects, [](const auto& each) { return each->Signalled; });
    if (first == objects.end()) return false;
    if (!(*first)->Manual) (*first)->Signalled = false;
    result = WAIT_OBJECT_0 + static_cast<DWORD>(first - objects.begin());
    return true;
}

void WakeAll(Kernel& kernel) {
    ++kernel.WakeCount;
    kernel.Working += std::exchange(kernel.Waiting, 0);
    kernel.Changed.notify_all();
}

void Signal(Kernel& kernel, Object& object) {
    object.Signalled = true;
    WakeAll(kernel);
}

// Waits until WakeAll, or until the deadline on the real clock. The thread counts as waiting.
void WaitForChange(Kernel& kernel, Lock& lock, std::uint64_t deadline) {
    const auto woken = [&kernel, seen = kernel.WakeCount] { return kernel.WakeCount != seen; };
    kernel.Waiting += libraryThread;
    kernel.Working -= libraryThread;
    if (libraryThread && kernel.Working == 0) kernel.Changed.notify_all();
    if (deadline == Forever || ClockIsStepped())
        kernel.Changed.wait(lock, woken);
    else if (!kernel.Changed.wait_until(lock, RealTime(deadline), woken)) {
        kernel.Waiting -= libraryThread;
        kernel.Working += libraryThread;
    }
}

DWORD Block(Kernel& kernel, Lock& lock, Objects objects, std::uint64_t deadline) {
    DWORD result = WAIT_TIMEOUT;
    // Scheduled before the thread counts as waiting: from then on time may reach the deadline.
    if (deadline != Forever && ClockIsStepped())
        Schedule(
            Lane::Timers, deadline,
            [](void*, std::uintptr_t) {
                const Lock ending(KernelState().Lock);
                WakeAll(KernelState());
            },
            &result);
    while (!ConsumeSignal(objects, result) && Microseconds() < deadline)
        WaitForChange(kernel, lock, deadline);
    lock.unlock();
    UnscheduleAll(&result);
    return result;
}

// A wait of the thread that moves stepped time, which it does here. Inside an action no time can
// pass, so there a wait with a time-out ends as soon as every other thread waits too.
DWORD WaitSteering(Kernel& kernel, Lock& lock, Objects objects, std::uint64_t deadline) {
    for (;;) {
        lock.unlock();
        const bool moved = !IsInsideAction() && RunNextAction(deadline);
        WaitForLibraryThreads();
        lock.lock();
        DWORD result = 0;
        if (ConsumeSignal(objects, result)) return result;
        if (moved) continue;
        return deadline == Forever ? Block(kernel, lock, objects, Forever) : WAIT_TIMEOUT;
    }
}

DWORD Wait(Objects objects, DWORD milliseconds) {
    Kernel& kernel = KernelState();
    Lock lock(kernel.Lock);
    DWORD result = 0;
    if (ConsumeSignal(objects, result)) return result;
    if (milliseconds == 0) return WAIT_TIMEOUT;
    const std::uint64_t deadline =
        milliseconds == INFINITE ? Forever : Microseconds() + std::uint64_t{milliseconds} * 1000;
    return IsSteeringThread() ? WaitSteering(kernel, lock, objects, deadline)
                              : Block(kernel, lock, objects, deadline);
}

// The argument of ThreadMain.
struct ThreadStart {
    unsigned(WINAPI* Body)(void*);
    void* Argument;
    std::shared_ptr<Object> End;
};

void* ThreadMain(void* argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    libraryThread = true;
    start->Body(start->Argument);
    const Lock lock(KernelState().Lock);
    --KernelState().Working;
    Signal(KernelState(), *start->End);
    return nullptr;
}

const machine::AtPowerOn atPowerOn([] { KernelState().Open.RemoveAll(); });

} // namespace
} // namespace calls

namespace device {

using namespace calls;

void WaitForLibraryThreads() {
    Kernel& kernel = KernelState();
    Lock lock(kernel.Lock);
    kernel.Changed.wait(lock, [&kernel] { return kernel.Working == 0; });
}

} // namespace device

namespace zorsystem {

using namespace calls;

HANDLE CreateEventA(void* /*security*/, BOOL manualReset, BOOL signalled, LPCSTR /*name*/) {
    if (const Failure failure{Call::CreateEventA}) return failure;
    return KernelState().Open.Add<HANDLE>(
        std::make_shared<Object>(Object{manualReset != 0, signalled != 0}));
}

BOOL SetEvent(HANDLE event) {
    const auto object = KernelState().Open.Find(event);
    const Lock lock(KernelState().Lock);
    if (object) Signal(KernelState(), *object);
    return object != nullptr;
}

BOOL ResetEvent(HANDLE event) {
    const auto object = KernelState().Open.Find(event);
    const Lock lock(KernelState().Lock);
    if (object) object->Signalled = false;
    return object != nullptr;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    return WaitForMultipleObjects(1, &object, FALSE, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL /*all*/, DWORD milliseconds) {
    // Keeps the objects until the wait ends, so that a handle may be closed meanwhile.
    std::array<std::shared_ptr<Object>, MAXIMUM_WAIT_OBJECTS> references;
    for (DWORD i = 0; i < count; ++i)
        if (!(references[i] = KernelState().Open.Find(objects[i]))) return WAIT_FAILED;
    return Wait(Objects(references.data(), count), milliseconds);
}

BOOL CloseHandle(HANDLE handle) { return KernelState().Open.Remove(handle) != nullptr; }

// stackSize is ignored: the system's default is enough for every caller here.
std::uintptr_t _beginthreadex(void* /*security*/, unsigned /*stackSize*/,
                              unsigned(WINAPI* start)(void*), void* argument, unsigned /*flags*/,
                              unsigned* /*id*/) {
    if (const Failure failure{Call::_beginthreadex}) return failure;
    const auto end = std::make_shared<Object>(Object{.Manual = true, .Signalled = false});
    auto owned = std::make_unique<ThreadStart>(ThreadStart{start, argument, end});
    const Lock lock(KernelState().Lock);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, ThreadMain, owned.get()) != 0) return 0;
    pthread_detach(thread);
    static_cast<void>(owned.release());
    ++KernelState().Working;
    return KernelState().Open.Add<std::uintptr_t>(end);
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) return std::this_thread::yield();
    Wait({}, milliseconds);
}

} // namespace zorsystem
