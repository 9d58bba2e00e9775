// A cable between processes is memory that they share: a ring of the messages that were sent last.
// The first program makes it, the last one to leave gives it back.
//
// Sending takes one compare-and-exchange and never waits for another program. Nothing is ever half
// done: a message is there or it is not, so a program that is stopped or killed anywhere in a call
// harms no other. Every receiver keeps its own place, so a slow one holds nobody up either.
#include "platform/api/clock.h"
#include "platform/machine/midi.h"
#include "platform/backends/memory/midi.h"

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

namespace machine {
namespace {

// As many messages wait for a receiver: more than a host's two output queues can hold, and a minute
// of all that a MIDI wire can carry.
constexpr std::uint32_t Slots = 1u << 16;

// All zero at first, as the system gives it. The default order of atomics throughout: nothing here
// is worth a weaker one.
struct Memory {
    alignas(64) std::atomic<std::uint32_t> Bell;
    alignas(64) std::atomic<std::uint32_t> End; // a hint: slots from here on may be filled already
    // A message below the number of its place plus one, so that 0 is none.
    alignas(64) std::atomic<std::uint64_t> Filled[Slots];
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free &&
              std::atomic<std::uint64_t>::is_always_lock_free);

std::uint64_t Numbered(std::uint32_t place, std::uint32_t message) {
    return std::uint64_t{place + 1} << 32 | message;
}

// How far the message in a slot lies beyond a place that shares the slot: 0 if it is the one, above
// if it has come round since, below if it is an old one.
std::int32_t Beyond(std::uint64_t filled, std::uint32_t place) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(filled >> 32) - (place + 1));
}

class Ring {
public:
    // Null if the memory cannot be had.
    static std::shared_ptr<Ring> Join(const std::string& cable);
    Ring(std::string name, int file) : Name(std::move(name)), File(file) {}
    Ring(const Ring&) = delete;
    Ring& operator=(const Ring&) = delete;
    ~Ring();

    // For senders: any thread. Waits for nothing and allocates nothing.
    void Append(std::uint32_t message);

    // For receivers. Places count messages, and wrap.
    std::uint32_t End() const; // the place of the message that will be sent next
    // Waits for the message at the place, takes it and moves on. What has been written over by then
    // is left out. False as soon as it is to end; whoever sets that calls Wake.
    bool Await(std::uint32_t& place, std::uint32_t& message, const std::atomic<bool>& toEnd) const;
    void Wake();

private:
    enum class Joined { Yes, No, TooLate };
    Joined Map();
    bool Read(std::uint32_t& place, std::uint32_t& message) const;

    const std::string Name;
    const int File; // locked by each that uses the memory, so that the last one knows that it is
    Memory* Shared = nullptr;
};

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

std::shared_ptr<Ring> Ring::Join(const std::string& cable) {
    const std::string name = SharedName(cable);
    for (;;) {
        const int file = shm_open(name.c_str(), O_RDWR | O_CREAT, 0600);
        if (file < 0) return nullptr;
        auto ring = std::make_shared<Ring>(name, file);
        const Joined joined = ring->Map();
        if (joined != Joined::TooLate) return joined == Joined::Yes ? ring : nullptr;
    }
}

Ring::Joined Ring::Map() {
    // Waits for no more than a program that is just taking the name away; the system ends the lock
    // if that program dies.
    struct stat status {};
    if (flock(File, LOCK_SH) != 0 || fstat(File, &status) != 0) return Joined::No;
    // Ours and closed to others, or someone could listen in or send for us.
    if (status.st_uid != getuid() || (status.st_mode & 0077) != 0) return Joined::No;
    if (status.st_nlink == 0) return Joined::TooLate; // the last one has left meanwhile
    // Fetched now, so that no sender finds the memory used up or has to wait for a page.
    if (posix_fallocate(File, 0, sizeof(Memory)) != 0) return Joined::No;
    void* const memory =
        mmap(nullptr, sizeof(Memory), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, File, 0);
    if (memory == MAP_FAILED) return Joined::No;
    Shared = static_cast<Memory*>(memory);
    return Joined::Yes;
}

Ring::~Ring() {
    if (Shared) munmap(Shared, sizeof(Memory));
    // Whoever gets the lock alone is the last, and whoever comes now waits for it and begins anew.
    struct stat status {};
    if (Shared && flock(File, LOCK_EX | LOCK_NB) == 0 && fstat(File, &status) == 0 &&
        status.st_nlink > 0)
        shm_unlink(Name.c_str());
    close(File);
}

void Ring::Append(std::uint32_t message) {
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

std::uint32_t Ring::End() const {
    std::uint32_t place = Shared->End;
    while (Beyond(Shared->Filled[place % Slots], place) >= 0) ++place;
    return place;
}

// False if nothing has been sent there yet.
bool Ring::Read(std::uint32_t& place, std::uint32_t& message) const {
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

bool Ring::Await(std::uint32_t& place, std::uint32_t& message,
                 const std::atomic<bool>& toEnd) const {
    for (;;) {
        const std::uint32_t bell = Shared->Bell; // first, so that what comes now is not slept over
        if (toEnd) return false;
        if (Read(place, message)) return true;
        syscall(SYS_futex, &Shared->Bell, FUTEX_WAIT, bell, nullptr, nullptr, 0);
    }
}

void Ring::Wake() {
    ++Shared->Bell;
    syscall(SYS_futex, &Shared->Bell, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

// Hands on, from a thread of its own, what is sent from the moment of its making.
class Receiver {
public:
    Receiver(VirtualInput& device, std::shared_ptr<Ring> cable)
        : Device(device), Cable(std::move(cable)), Place(Cable->End()), Thread([this] { Run(); }) {}
    ~Receiver() {
        Ending = true;
        Cable->Wake();
        Thread.join();
    }

private:
    void Run() {
        pthread_setname_np(pthread_self(), "zor-bridge");
        HastenThread();
        for (std::uint32_t message = 0; Cable->Await(Place, message, Ending);)
            // While the machine has no room, what has been sent waits in the ring.
            while (!Ending && !Device.Bring(message, 0))
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    VirtualInput& Device; // which owns this
    const std::shared_ptr<Ring> Cable;
    std::uint32_t Place;
    std::atomic<bool> Ending{false};
    std::thread Thread; // last, since it uses the others
};

} // namespace

bool BridgeOutput(int output, const std::string& name) {
    const auto device = FindVirtual<VirtualOutput>(output);
    const auto ring = device && !name.empty() ? Ring::Join(name) : nullptr;
    if (!device || (!ring && !name.empty())) return false;
    device->Lead(
        "other programs", !ring ? VirtualOutput::Cable() : [ring](std::uint32_t message) {
            ring->Append(message);
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
    return false; // no thread to be had
}

} // namespace machine
