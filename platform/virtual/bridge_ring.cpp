#include "platform/virtual/bridge_ring.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace machine {

// All zero at first, as the system gives it. The default order of atomics throughout: nothing here
// is worth a weaker one.
struct BridgeRing::Memory {
    alignas(64) std::atomic<std::uint32_t> Bell;
    alignas(64) std::atomic<std::uint32_t> End; // a hint: slots from here on may be filled already
    // A message below the number of its place plus one, so that 0 is none.
    alignas(64) std::atomic<std::uint64_t> Filled[Slots];
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free &&
              std::atomic<std::uint64_t>::is_always_lock_free);

namespace {

std::uint64_t Numbered(std::uint32_t place, std::uint32_t message) {
    return std::uint64_t{place + 1} << 32 | message;
}

// How far the message in a slot lies beyond a place that shares the slot: 0 if it is the one, above
// if it has come round since, below if it is an old one.
std::int32_t Beyond(std::uint64_t filled, std::uint32_t place) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(filled >> 32) - (place + 1));
}

// Programs that have the same runtime folder share their cables. The name says whose it is, but is
// of fixed length and without letters that a file name cannot hold. (64-bit FNV-1a.)
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

} // namespace

std::unique_ptr<BridgeRing> BridgeRing::Join(const std::string& cable) {
    const std::string name = SharedName(cable);
    for (;;) {
        const int file = shm_open(name.c_str(), O_RDWR | O_CREAT, 0600);
        if (file < 0) return nullptr;
        std::unique_ptr<BridgeRing> ring(new BridgeRing(name, file));
        // Waits for no more than a program that is just taking the name away; the system ends the
        // lock if that program dies.
        struct stat status {};
        if (flock(file, LOCK_SH) != 0 || fstat(file, &status) != 0) return nullptr;
        // Ours and closed to others, or someone could listen in or send for us.
        if (status.st_uid != getuid() || (status.st_mode & 0077) != 0) return nullptr;
        if (status.st_nlink == 0) continue; // the last one has left meanwhile
        // Fetched now, so that no sender finds the memory used up or has to wait for a page.
        if (posix_fallocate(file, 0, sizeof(Memory)) != 0) return nullptr;
        void* const memory = mmap(nullptr, sizeof(Memory), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_POPULATE, file, 0);
        if (memory == MAP_FAILED) return nullptr;
        ring->Shared = static_cast<Memory*>(memory);
        return ring;
    }
}

BridgeRing::~BridgeRing() {
    if (Shared) munmap(Shared, sizeof(Memory));
    // Whoever gets the lock alone is the last, and whoever comes now waits for it and begins anew.
    struct stat status {};
    if (Shared && flock(File, LOCK_EX | LOCK_NB) == 0 && fstat(File, &status) == 0 &&
        status.st_nlink > 0)
        shm_unlink(Name.c_str());
    close(File);
}

void BridgeRing::Append(std::uint32_t message) {
    for (bool sent = false; !sent;) {
        std::uint32_t place = Shared->End;
        std::atomic<std::uint64_t>& slot = Shared->Filled[place % Slots];
        std::uint64_t there = slot;
        sent = Beyond(there, place) < 0 &&
               slot.compare_exchange_strong(there, Numbered(place, message));
        // For whoever filled it, since that program may not get to this any more.
        Shared->End.compare_exchange_strong(place, place + 1);
    }
    Wake();
}

std::uint32_t BridgeRing::End() const {
    std::uint32_t place = Shared->End;
    while (Beyond(Shared->Filled[place % Slots], place) >= 0) ++place;
    return place;
}

// False if nothing has been sent there yet.
bool BridgeRing::Read(std::uint32_t& place, std::uint32_t& message) const {
    std::uint64_t there = Shared->Filled[place % Slots];
    while (Beyond(there, place) > 0) { // the oldest that is still there comes next
        place = static_cast<std::uint32_t>(there >> 32) - Slots;
        there = Shared->Filled[place % Slots];
    }
    if (Beyond(there, place) < 0) return false;
    message = static_cast<std::uint32_t>(there);
    ++place;
    return true;
}

bool BridgeRing::Await(std::uint32_t& place, std::uint32_t& message,
                       const std::atomic<bool>& toEnd) const {
    for (;;) {
        const std::uint32_t bell = Shared->Bell; // first, so that what comes now is not slept over
        if (toEnd) return false;
        if (Read(place, message)) return true;
        syscall(SYS_futex, &Shared->Bell, FUTEX_WAIT, bell, nullptr, nullptr, 0);
    }
}

void BridgeRing::Wake() {
    ++Shared->Bell;
    syscall(SYS_futex, &Shared->Bell, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

} // namespace machine
