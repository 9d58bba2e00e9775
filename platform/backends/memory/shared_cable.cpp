// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A cable between processes is a ring of the latest messages in shared memory. The first program
// creates it, the last one to leave removes it.
//
// Sending takes one compare-and-exchange and never waits for another program. A message is written
// in one step, so a program that is stopped or killed anywhere in a call leaves the ring valid.
// Every receiver has its own read position, so a slow one delays no other.
#include "platform/api/clock.h"
#include "platform/backends/memory/midi.h"
#include "platform/machine/midi.h"

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace device {
namespace {

// Messages that are kept for a slow receiver: more than a host's two output queues can hold, and a
// minute of a MIDI wire at full load.
constexpr std::uint32_t Slots = 1u << 16;

// Zero-filled by the system. All atomics use the default order: a weaker one would gain nothing
// here.
struct Memory {
    alignas(64) std::atomic<std::uint32_t> WakeCount; // a futex
    alignas(64) std::atomic<std::uint32_t> End; // a hint: slots from here on may be filled already
    // Low half: the message. High half: its position plus one, so that 0 means empty.
    alignas(64) std::atomic<std::uint64_t> Messages[Slots];
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free &&
              std::atomic<std::uint64_t>::is_always_lock_free);

std::uint64_t PackSlot(std::uint32_t position, std::uint32_t message) {
    return std::uint64_t{position + 1} << 32 | message;
}

// Position of the message in a slot, minus a position that uses the same slot: 0 if it is that one,
// positive if a newer message has overwritten it, negative if it is an older one.
std::int32_t Distance(std::uint64_t slot, std::uint32_t position) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(slot >> 32) - (position + 1));
}

class Ring {
public:
    // Creates or opens the ring of that cable. Null if the system has no memory for it.
    static std::shared_ptr<Ring> Join(const std::string& cable);
    Ring(std::string name, int file) : Name(std::move(name)), File(file) {}
    Ring(const Ring&) = delete;
    Ring& operator=(const Ring&) = delete;
    ~Ring();

    // For senders. Thread: any. Real time.
    void Push(std::uint32_t message);

    // For receivers. Positions count messages, and wrap.
    std::uint32_t End() const; // position of the message that will be sent next
    // Waits for the message at the position, reads it and moves the position on. Messages that have
    // been overwritten meanwhile are skipped. False as soon as stop is set; who sets it calls Wake.
    bool WaitAndRead(std::uint32_t& position, std::uint32_t& message,
                     const std::atomic<bool>& stop) const;
    void Wake();

private:
    enum class MapResult { Mapped, Failed, Removed };
    MapResult Map();
    bool Read(std::uint32_t& position, std::uint32_t& message) const;

    const std::string Name;
    const int File; // locked shared by each user, so that the last one can detect it
    Memory* Shared = nullptr;
};

// Programs with the same runtime folder share their cables. The name holds a hash of both (64-bit
// FNV-1a), so that its length is fixed and no character needs escaping.
std::string SharedName(const std::string& cable) {
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char c : std::string(runtime ? runtime : "") + '\n' + cable)
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3u;
    char name[64];
    std::snprintf(name, sizeof name, "/zormidi-cable1-%u-%016llx", static_cast<unsigned>(getuid()),
                  static_cast<unsigned long long>(hash));
    return name;
}

std::shared_ptr<Ring> Ring::Join(const std::string& cable) {
    const std::string name = SharedName(cable);
    for (;;) {
        const int file = shm_open(name.c_str(), O_RDWR | O_CREAT, 0600);
        if (file < 0) return nullptr;
        auto ring = std::make_shared<Ring>(name, file);
        const MapResult result = ring->Map();
        if (result != MapResult::Removed) return result == MapResult::Mapped ? ring : nullptr;
    }
}

Ring::MapResult Ring::Map() {
    // Waits only for a program that is removing the name; the system releases its lock if it dies.
    struct stat status {};
    if (flock(File, LOCK_SH) != 0 || fstat(File, &status) != 0) return MapResult::Failed;
    // Owned by this user and closed to others, or another user could read or send.
    if (status.st_uid != getuid() || (status.st_mode & 0077) != 0) return MapResult::Failed;
    if (status.st_nlink == 0) return MapResult::Removed; // the last user has left meanwhile
    // Allocated now, so that no sender lacks memory or waits for a page.
    if (posix_fallocate(File, 0, sizeof(Memory)) != 0) return MapResult::Failed;
    void* const memory =
        mmap(nullptr, sizeof(Memory), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, File, 0);
    if (memory == MAP_FAILED) return MapResult::Failed;
    Shared = static_cast<Memory*>(memory);
    return MapResult::Mapped;
}

Ring::~Ring() {
    if (Shared) munmap(Shared, sizeof(Memory));
    // The exclusive lock succeeds for the last user only; a new user waits for it and starts over.
    struct stat status {};
    if (Shared && flock(File, LOCK_EX | LOCK_NB) == 0 && fstat(File, &status) == 0 &&
        status.st_nlink > 0)
        shm_unlink(Name.c_str());
    close(File);
}

void Ring::Push(std::uint32_t message) {
    for (bool sent = false; !sent;) {
        std::uint32_t position = Shared->End;
        std::atomic<std::uint64_t>& slot = Shared->Messages[position % Slots];
        std::uint64_t old = slot;
        sent = Distance(old, position) < 0 &&
               slot.compare_exchange_strong(old, PackSlot(position, message));
        // Also if another program has filled the slot, since that program may have been killed.
        Shared->End.compare_exchange_strong(position, position + 1);
    }
    Wake();
}

std::uint32_t Ring::End() const {
    std::uint32_t position = Shared->End;
    while (Distance(Shared->Messages[position % Slots], position) >= 0) ++position;
    return position;
}

// False if the message at the position has not been sent yet.
bool Ring::Read(std::uint32_t& position, std::uint32_t& message) const {
    std::uint64_t slot = Shared->Messages[position % Slots];
    while (Distance(slot, position) > 0) { // overwritten: goes on with the oldest that is left
        position = static_cast<std::uint32_t>(slot >> 32) - Slots;
        slot = Shared->Messages[position % Slots];
    }
    if (Distance(slot, position) < 0) return false;
    message = static_cast<std::uint32_t>(slot);
    ++position;
    return true;
}

bool Ring::WaitAndRead(std::uint32_t& position, std::uint32_t& message,
                       const std::atomic<bool>& stop) const {
    for (;;) {
        // Read first, so that a message that is sent from here on ends the wait.
        const std::uint32_t wakeCount = Shared->WakeCount;
        if (stop) return false;
        if (Read(position, message)) return true;
        syscall(SYS_futex, &Shared->WakeCount, FUTEX_WAIT, wakeCount, nullptr, nullptr, 0);
    }
}

void Ring::Wake() {
    ++Shared->WakeCount;
    syscall(SYS_futex, &Shared->WakeCount, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

// Delivers the messages that are sent from its construction on, from a thread of its own.
class Receiver {
public:
    Receiver(VirtualInput& device, std::shared_ptr<Ring> cable)
        : Device(device), Cable(std::move(cable)), Position(Cable->End()),
          Thread([this] { Run(); }) {}
    ~Receiver() {
        Stopping = true;
        Cable->Wake();
        Thread.join();
    }

private:
    void Run() {
        pthread_setname_np(pthread_self(), "zor-bridge");
        RaiseThreadPriority();
        for (std::uint32_t message = 0; Cable->WaitAndRead(Position, message, Stopping);)
            // While the timer lane is full, messages wait in the ring.
            while (!Stopping && !Device.Deliver(message, 0))
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    VirtualInput& Device; // which owns this
    const std::shared_ptr<Ring> Cable;
    std::uint32_t Position; // of the next message to read
    std::atomic<bool> Stopping{false};
    std::thread Thread; // last, since it uses the others
};

} // namespace
} // namespace device

namespace machine {

using namespace device;

bool BridgeOutput(int output, const std::string& name) {
    const auto device = FindVirtual<VirtualOutput>(output);
    const auto ring = device && !name.empty() ? Ring::Join(name) : nullptr;
    if (!device || (!ring && !name.empty())) return false;
    device->SetCable(
        "other programs", !ring ? VirtualOutput::Cable() : [ring](std::uint32_t message) {
            ring->Push(message);
            return true;
        });
    return true;
}

bool BridgeInput(int input, const std::string& name) try {
    const auto device = FindVirtual<VirtualInput>(input);
    const auto ring = device && !name.empty() ? Ring::Join(name) : nullptr;
    if (!device || (!ring && !name.empty())) return false;
    device->SetSource(ring ? std::make_shared<Receiver>(*device, ring) : nullptr);
    return true;
} catch (const std::system_error&) {
    return false; // the system has no thread
}

} // namespace machine
