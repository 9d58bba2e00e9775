#include "engine/active_call.h"

#include "platform/platform.h"

namespace {

// Where each thread keeps its innermost errand. Taken when the module is loaded, never given back:
// a callback that comes late looks into it too.
const DWORD Slot = TlsAlloc();

// Callbacks under way on all threads, those of the present epoch and those from before it: who
// waits begins a new epoch, so that callbacks that go on coming in cannot hold it up.
std::atomic<unsigned> epoch{0};
std::atomic<int> inside[2];

Errand* Innermost() { return static_cast<Errand*>(TlsGetValue(Slot)); }

bool IsCallback(const Errand& errand) { return errand.What != Errand::Kind::Transmission; }

const Errand* InnermostThat(bool isCallback) {
    const Errand* errand = Innermost();
    while (errand && IsCallback(*errand) != isCallback) errand = errand->Outer;
    return errand;
}

int CallbacksOfThisThread(unsigned parity) {
    int count = 0;
    for (const Errand* errand = Innermost(); errand; errand = errand->Outer)
        count += IsCallback(*errand) && errand->Epoch == parity ? 1 : 0;
    return count;
}

// Whether all callbacks of other threads that are counted there have ended by the deadline. A sleep
// can take far longer than it is asked to, so none is counted.
bool Drained(unsigned parity, std::chrono::steady_clock::time_point deadline) {
    const int own = CallbacksOfThisThread(parity);
    while (inside[parity].load(std::memory_order_acquire) > own) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        Sleep(1);
    }
    return true;
}

} // namespace

Errand::Errand(Kind what, Generation begun)
    : What(what), Begun(begun), Outer(Innermost()), Epoch(epoch.load() % 2) {
    TlsSetValue(Slot, this);
    if (IsCallback(*this)) inside[Epoch].fetch_add(1);
}

// Release: whoever sees the last callback gone sees what it did.
Errand::~Errand() {
    TlsSetValue(Slot, Outer);
    if (IsCallback(*this)) inside[Epoch].fetch_sub(1, std::memory_order_release);
}

bool StillWanted() {
    const Errand* transmission = InnermostThat(false);
    return !transmission || MayTransmit(transmission->Begun);
}

bool OnInputThread() {
    for (const Errand* errand = Innermost(); errand; errand = errand->Outer)
        if (errand->What == Errand::Kind::Input) return true;
    return false;
}

Generation CallbackBegun() {
    const Errand* callback = InnermostThat(true);
    return callback ? callback->Begun : CurrentGeneration();
}

// Those counted under the other epoch are waited for before a new one begins, since it will be
// counted where they are. Nothing new comes in there meanwhile. One that was given up stays there,
// for the next one who waits.
bool AwaitCallbacks(std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const unsigned present = epoch.load() % 2;
    if (!Drained(1 - present, deadline)) return false;
    epoch.fetch_add(1);
    return Drained(present, deadline);
}
